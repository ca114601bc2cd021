#!/usr/bin/env bash
# quorvid-desk's wall with nine streams, against the bundled simulator, on an X server of its own:
#
#   scripts/desk-wall.sh costs [--rounds N] [--seconds S]    beside `quorvid view` with the same streams
#   scripts/desk-wall.sh faults [--short] [--seconds S]      each fault of the simulator for S seconds; fails where a
#                                                            tile does not come back, or memory grows; ten minutes
#   scripts/desk-wall.sh pictures                            those of the documentation; needs xdotool
#
# BUILD in the environment: another build folder, which is not built.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -z "${BUILD:-}" ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_desk quorvid_app quorvid_sim
fi
exec python3 -B scripts/desk/wall.py --build "${BUILD:-build}" "$@"
