#!/usr/bin/env bash
# Measures the library beside the least that could do the same, and prints a table: the case, ours, the
# limit, their ratio, its budget, and whether that is held. docs/performance.md says how each is got.
#   scripts/bench.sh [--short] [--rounds N] [CASE...]
#     CASE     latency, method, stages, workers, sessions, streams (all)
#     --rounds of ours and its limit by turns (5); the medians count
#     --short  one round, within a minute, for a check; fails on what is more than twice over its budget
# Encoded streams are kept in $XDG_CACHE_HOME/quorvid-bench (~/.cache/quorvid-bench).
# Writes bench.json, bench.md and a plot to $OUT (build/bench). Needs Xvfb (xvfb), and for the plot gnuplot
# (gnuplot-nox). Figures are worth keeping from a quiet machine only.
set -euo pipefail
cd "$(dirname "$0")/.."
for word in "$@"; do
  [[ "$word" == -h || "$word" == --help ]] && { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"; exit; }
done
build=build
cmake --preset release >/dev/null
cmake --build --preset release --target quorvid_app quorvid_sim bare_viewer screen_latency stages worker_load \
  session_load many_streams >/dev/null
exec python3 -B bench/runner/run.py --build "$build" --out "${OUT:-$build/bench}" "$@"
