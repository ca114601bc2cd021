#!/usr/bin/env bash
# Builds the network room alone for 32-bit x86, 32-bit Arm and 64-bit Arm and runs its tests there.
set -euo pipefail
cd "$(dirname "$0")/.."
for target in i686-linux-gnu arm-linux-gnueabihf aarch64-linux-gnu; do
  echo "-- $target"
  cmake -S . -B "build-$target" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUORVID_CONNECTION_ONLY=ON \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/cross/$target.cmake" >/dev/null
  cmake --build "build-$target"
  ctest --test-dir "build-$target" --output-on-failure --parallel 4
done
