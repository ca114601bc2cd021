#!/usr/bin/env bash
# Runs the embedding example against the simulator: embed_example.sh BUILD_FOLDER
set -euo pipefail
build=$1
source "$(dirname "$0")/../../scripts/simulator.sh"
work=$(mktemp -d)
trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$work"' EXIT

"$build/quorvid-sim" --port 0 >"$work/ports" 2>"$work/log" &
simulator=$!
port=$(fleet_port "$work/ports" "$simulator")

# Exits with 0 only if both views showed a picture.
"$build/embed_sdl" "127.0.0.1:$port" TEST --headless --seconds 4 --snapshot "$work/picture.bmp" \
  >/dev/null 2>"$work/example.log" || { grep -v IOS8VT "$work/example.log" || true; exit 1; }
[[ $(head -c 2 "$work/picture.bmp") == BM ]]
