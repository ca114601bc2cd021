#!/usr/bin/env bash
# quorvid-desk's wall with nine streams, against the bundled simulator, on an X server of its own:
#
#   scripts/desk-wall.sh costs [--rounds N] [--seconds S]    beside `quorvid view` with the same streams
#   scripts/desk-wall.sh faults [--short] [--seconds S]      each fault of the simulator for S seconds; fails where a
#                                                            tile does not come back, or memory grows; ten minutes
#   scripts/desk-wall.sh pictures                            those of the documentation; needs xdotool
#
# BUILD in the environment: another build folder, which is not built. Where that is a sanitizer's, all is given
# four times as long, memory may grow, since what is freed is kept for a while, and a report fails it.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -z "${BUILD:-}" ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_desk quorvid_app quorvid_sim
fi
build=${BUILD:-build}
patience=()
if grep -q '^QUORVID_SANITIZE:[^=]*=.' "$build/CMakeCache.txt" 2>/dev/null; then
  patience=(--patience 4 --growth 3)
  export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0:intercept_tls_get_addr=0
  export TSAN_OPTIONS=suppressions=$PWD/tests/tsan.supp:print_suppressions=0
fi
exec python3 -B scripts/desk/wall.py --build "$build" "${patience[@]}" "$@"
