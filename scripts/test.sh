#!/usr/bin/env bash
# Builds everything and runs the tests. Further arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release --parallel "${QUORVID_TEST_JOBS:-4}" "$@"
