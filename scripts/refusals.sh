#!/usr/bin/env bash
# Every allocation, call of the system, thread, and call of EGL, GL and libavcodec that the library's own code
# makes on the way of a frame, refused once, each in a process of its own: something is told or shown, nothing
# crashes, hangs or is left, and it plays again. Writes build/refusals.md.
#
#   scripts/refusals.sh            everything, about eight minutes on two cores
#   scripts/refusals.sh --short    a part of it; --only PATTERN (of "WHO KIND"), --at N, --jobs N, --verbose
#
# BUILD in the environment: another build folder, which is not built.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -z "${BUILD:-}" ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_refusals
fi
exec python3 -B scripts/refusals/matrix.py "$@"
