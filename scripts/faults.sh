#!/usr/bin/env bash
# Every client against every fault that a server or a network can show, as scripts/faults/expected.tsv has
# it; fails where one does something else, crashes, hangs or takes too much memory. Writes build/faults.md.
#
#   scripts/faults.sh            everything, about eight minutes on two cores
#   scripts/faults.sh --short    a part of it; --only PATTERN (of "CLIENT FAULT"), --jobs N, --verbose
#
# BUILD in the environment: another build folder, which is not built.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -z "${BUILD:-}" ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_faults
fi
exec python3 -B scripts/faults/matrix.py "$@"
