#!/usr/bin/env bash
# record.sh BUILD_FOLDER: gst-launch-1.0 on the simulator: a picture that is right, and files that a
# player takes. Skipped (77) where an element that this needs isn't installed.
set -euo pipefail
build=$1
source "$(dirname "$0")/../../scripts/simulator.sh"
for element in h264parse avdec_h264 videobox pngenc splitmuxsink mp4mux; do
  gst-inspect-1.0 --exists "$element" || { echo "skipped: GStreamer has no $element here"; exit 77; }
done
work=$(mktemp -d)
trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$work"' EXIT
"$build/quorvid-sim" --gop 10 >"$work/ports" &
simulator=$!
from="quorvidsrc device=TRUCK-7 server=127.0.0.1:$(fleet_port "$work/ports" "$simulator")"

gst-launch-1.0 -q $from num-buffers=1 ! h264parse ! avdec_h264 ! videoconvert ! videobox bottom=-18 ! pngenc ! \
  filesink location="$work/picture.png"
"$build/tests/sim/compare_picture" "$work/picture.png"

gst-launch-1.0 -q $from num-buffers=60 ! h264parse ! tee name=both ! queue ! \
  splitmuxsink location="$work/part%d.mp4" max-size-time=1000000000 both. ! queue ! avdec_h264 ! fakesink
frames=0
for part in "$work"/part*.mp4; do
  count=$(ffprobe -v error -count_packets -show_entries stream=nb_read_packets -of csv=p=0 "$part")
  frames=$((frames + count))
  ffmpeg -v error -xerror -i "$part" -f null - </dev/null
done
[[ $frames -eq 60 && -e $work/part1.mp4 ]] || { echo "$frames of 60 frames are in the files"; exit 1; }
