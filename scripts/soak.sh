#!/usr/bin/env bash
# Shows whether a host may leave the library running: four programs play simulators that fail in every
# way (a window of live views with device lists and positions, players of the C interface, of the Python
# package, and GStreamer pipelines), by turns with rests. Prints a table, and fails when memory, heap,
# threads or descriptors of one grow after the first fifth of the time, or when one crashes or plays no more.
#   scripts/soak.sh MINUTES [--views N] [--seed N] [--build DIR] [--out DIR]
#   scripts/soak.sh --short
#     MINUTES  at least 5; half an hour and more say something about weeks
#     --short  two minutes, with fewer views: what grows with each start
#     --views  live views (64; short: 16); players and pipelines are fewer in proportion
#     --seed   of the faults (1)
#     --build  take the programs from there and build nothing
#     --out    where logs, table.txt and the plot soak.png go (build/soak, or soak in that of --build)
# The programs are copied before they start, so a build meanwhile doesn't disturb. Needs gnuplot for the
# plot (gnuplot-nox). scripts/soak/judge.py has what may grow by how much, and why.
set -euo pipefail
cd "$(dirname "$0")/.."
own=yes
for word in "$@"; do
  [[ "$word" == -h || "$word" == --help ]] && { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"; exit; }
  [[ "$word" == --build || "$word" == --build=* ]] && own=no
done
if [[ "$own" == yes ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_soak
  set -- --build build "$@"
fi
exec python3 -B scripts/soak/run.py "$@"
