#!/usr/bin/env bash
# check_exports.sh NM LIBRARY: the library shows these C names and, beside them, nothing but names of
# namespace quorvid: of libquorvid-connection.so none at all, class Window of libquorvid-window.so alone.
set -euo pipefail
nm=$1 library=$2

expected="readn writen ThreadVideoSourceForFleet ThreadVideoSourceForCar ThreadGetListForCar
ThreadGetRelayForCar ThreadGetCarGPS CancelVideoSource StopCarGPS SetConnectionPrinter
SilenceConnectionPrinter myDevInfoItemsForGPS carCount quorvidLinePrinter"
classes= own=none foreign=none
if [[ $library == *libquorvid-window.so* ]]; then
  expected=
  classes=Window
  own=7quorvid6Window
elif [[ $library != *libquorvid-connection.so* ]]; then
  expected+=" shader_vsh shader_fsh uniforms kColorConversion601 kColorConversion709
QuorvidVersionNumber QuorvidVersionString pCodecCtxWidth pCodecCtxHeight"
  header=$(dirname "$0")/../../include/quorvid/quorvid.h
  expected+=" $(sed -n 's/^QUORVID_C_API .*\(quorvid_[a-z_]*\)(.*/\1/p' "$header")"
  classes="UIFleetLiveView VehicleVideo H264HwDecoderImpl H264HwDecoderImplDelegate AAPLEAGLLayer
ViewHost PicturePlayer"
  own=7quorvid
  foreign=7quorvid6Window
fi
expected=$(xargs -rn 1 <<<"$expected" | sort)
shown=$("$nm" -D --defined-only "$library" | awk '{print $NF}' | sort)
c_names=$(grep -v '^_Z' <<<"$shown" || true)
if [[ "$c_names" != "$expected" ]]; then
  echo "C names differ (< expected, > shown):"
  diff <(echo "$expected") <(echo "$c_names") || true
  exit 1
fi

cxx_names=$(grep '^_Z' <<<"$shown" || true)
strange=$(grep -vE "^_Z(N|NK|TVN|TIN|TSN|Thn[0-9]+_N)$own" <<<"$cxx_names" | grep . || true)
strange+=$(grep "$foreign" <<<"$cxx_names" || true)
if [[ -n "$strange" ]]; then
  echo "not this library's to show: $strange"
  exit 1
fi
for class in $classes; do
  if ! grep -qE "^_Z(N|NK|TIN|TVN)7quorvid${#class}$class" <<<"$cxx_names"; then
    echo "public class $class is missing"
    exit 1
  fi
done
