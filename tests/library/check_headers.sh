#!/usr/bin/env bash
# check_headers.sh CMAKE BUILD INCLUDEDIR CXX CC: each installed header compiles alone, from the
# installed tree only, in both standards that hosts use, and beside a loader of GL functions (they
# refuse a GL header before their own); those for C as C11, too.
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
  for standard in c++17 c++20; do
    printf '#include "%s"\n#include <epoxy/gl.h>\n#include <epoxy/egl.h>\n' "$header" |
      "$cxx" -std=$standard -Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only -x c++ - ||
      { echo "does not compile alone as $standard: $header"; exit 1; }
  done
  if echo "#include \"$header\"" | "$cxx" -std=c++17 -I. -M -x c++ - | grep -E '/(EGL|GLES[0-9]?|GL|KHR)/'; then
    echo "a GL header comes with $header"
    exit 1
  fi
done
for header in connection/VehicleConnection.h session/QuorvidVersion.h; do
  echo "#include \"quorvid/$header\"" | "$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only -x c -
done
