#!/usr/bin/env bash
# check_headers.sh CMAKE BUILD INCLUDEDIR CXX CC: each installed header compiles alone, from the
# installed tree only; those for C as C11, too.
set -euo pipefail
cmake=$1 build=$2 includedir=$3 cxx=$4 cc=$5
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
cd "$prefix/$includedir"

for header in session/UIFleetLiveView.h session/VehicleVideo.h session/QuorvidVersion.h \
              connection/VehicleConnection.h decoder/H264HwDecoderImpl.h render/AAPLEAGLLayer.h \
              view/Window.h view/RunLoop.h base/Log.h; do
  [[ -f quorvid/$header ]] || { echo "not installed: quorvid/$header"; exit 1; }
done
for header in $(find quorvid -name '*.h' | sort); do
  echo "#include \"$header\"" | "$cxx" -std=c++20 -Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only -x c++ - ||
    { echo "does not compile alone: $header"; exit 1; }
done
for header in connection/VehicleConnection.h session/QuorvidVersion.h; do
  echo "#include \"quorvid/$header\"" | "$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only -x c -
done
