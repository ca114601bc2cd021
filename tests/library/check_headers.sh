#!/usr/bin/env bash
# check_headers.sh CMAKE BUILD INCLUDEDIR CXX CC: each installed header compiles alone, from the
# installed tree only, in both standards that hosts use; all together, beside a loader of GL functions,
# which refuses a GL header before its own; those for C as C11, too.
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
headers=$(find quorvid -name '*.h' | sort)
strictly=(-Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only)
for header in $headers; do
  for standard in c++17 c++20; do
    echo "#include \"$header\"" | "$cxx" -std=$standard "${strictly[@]}" -x c++ - ||
      { echo "does not compile alone as $standard: $header"; exit 1; }
  done
done
all=$(printf '#include "%s"\n' $headers)
"$cxx" -std=c++17 "${strictly[@]}" -x c++ - <<<"$all"$'\n#include <epoxy/gl.h>\n#include <epoxy/egl.h>'
if "$cxx" -std=c++17 -I. -M -x c++ - <<<"$all" | grep -E '/(EGL|GLES[0-9]?|GL|KHR)/'; then
  echo "a public header includes a GL header"
  exit 1
fi
# The example in the comment at the top of the C interface.
sed '/^#ifndef/,$d; s/^\/\/   //p; d' quorvid/quorvid.h >"$prefix/example.c"
[[ $(grep -c quorvid_ "$prefix/example.c") -gt 8 ]] || { echo "quorvid.h has no example"; exit 1; }
"$cc" -std=c11 "${strictly[@]}" "$prefix/example.c"
"$cxx" -std=c++17 "${strictly[@]}" -x c++ "$prefix/example.c"
for header in quorvid.h connection/VehicleConnection.h session/QuorvidVersion.h; do
  echo "#include \"quorvid/$header\"" | "$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I. -fsyntax-only -x c -
done
