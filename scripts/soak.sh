#!/usr/bin/env bash
# Plays many views against simulators with random faults, and fails when memory, threads or descriptors
# still grow after the first fifth of the time. Writes build/soak.log, see tests/soak/soak.cpp.
#
#   scripts/soak.sh MINUTES [VIEWS]      64 views, at least 5 minutes; SEED=N in the environment for
#                                        other faults
# shellcheck disable=SC2016  # what stands in single quotes is for awk
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/simulator.sh
minutes=${1:?usage: scripts/soak.sh MINUTES [VIEWS]}
views=${2:-64}
seed=${SEED:-1}
cmake --preset release >/dev/null
cmake --build --preset release --target quorvid_soak quorvid_sim

RANDOM=$seed
from() { echo $(($1 + RANDOM % ($2 - $1 + 1))); }
sizes=(128x128 160x128 176x144 640x480 192x128)
# One simulator a line: what goes wrong with its streams. The first is sound.
troubles=(
  ""
  "--audio"
  "--drop-after $(from 10 30)"
  "--drop-after $(from 3 9) --close reset"
  "--stall-after $(from 10 30)"
  "--fault refuse:fleet"
  "--fault delay:fleet:$(from 1000 8000)"
  "--fault answer:fleet:$(from 1 255)"
  "--fault bad-kind:fleet:$(from 5 40)"
  "--fault too-large:fleet:$(from 5 40)"
  "--fault negative:fleet:$(from 5 40)"
  "--fault short-header:fleet:$(from 1 17)"
  "--fault one-byte:fleet:$(from 500 2000)"
  "--fault one-byte:fleet:1000000"
  "--fault stall:fleet:$(from 5000 80000)"
  "--fault close:fleet:$(from 5000 80000)"
  "--fault reset:fleet:$(from 5000 80000)"
  "--fault random:fleet:$(from 1 200000)"
  "--fault noise:fleet:1 --fps 10 --gop 10"
  "--fault noise:fleet:$(from 2 6)"
  "--fault burst:fleet:$(from 3 12)"
)

work=$(mktemp -d)
simulators=()
# shellcheck disable=SC2317  # the trap calls it
finish() {
  ((${#simulators[@]} == 0)) || kill "${simulators[@]}" 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
for i in "${!troubles[@]}"; do
  rate="--fps 2 --gop 4"
  [[ "${troubles[i]}" != *--fps* ]] || rate=""
  # shellcheck disable=SC2086  # the words of a line are arguments
  build/quorvid-sim --size "${sizes[i % ${#sizes[@]}]}" --seed "$((seed + i))" $rate ${troubles[i]} \
    >"$work/$i" 2>/dev/null &
  simulators+=($!)
done
ports=()
for i in "${!troubles[@]}"; do
  ports+=("$(fleet_port "$work/$i" "${simulators[i]}")") || {
    echo "soak: ${troubles[i]}" >&2
    exit 2
  }
done

# What the workers print for each frame is of no use here.
build/quorvid_soak "$minutes" "$views" "$seed" build/soak.log "${ports[@]}" >/dev/null
kill -0 "${simulators[@]}" || { echo "soak: a simulator ended" >&2; exit 2; }

# The values of an expression (awk's, of the log's columns) in the lines of a state, in one fifth of the
# time, sorted.
fifth() {
  awk -v last="$(awk 'END { print $2 }' build/soak.log)" -v number="$1" -v state="$2" \
    '$1 == state && $2 >= last * (number - 1) / 5 && $2 <= last * number / 5 { print int('"$3"') }' \
    build/soak.log | sort -n
}
pick() { awk -v which="$1" '{ value[NR] = $1 } END { print value[which == "least" ? 1 : int((NR + 1) / 2)] }'; }

# check NAME STATE EXPRESSION least|median ALLOWED: ALLOWED is how much more the last fifth may have than
# the second.
failed=0
check() {
  local second last verdict=level
  second=$(fifth 2 "$2" "$3" | pick "$4")
  last=$(fifth 5 "$2" "$3" | pick "$4")
  [[ -n "$second" && -n "$last" ]] || { echo "soak: too short a run" >&2; exit 2; }
  ((last - second <= $5)) || { verdict=GROWS failed=1; }
  printf '%-44s %12d %12d %+9d %9d  %s\n' "$1" "$second" "$last" $((last - second)) "$5" "$verdict"
}
printf '%-44s %12s %12s %9s %9s\n' "" "second fifth" "last fifth" growth allowed
# By intention each start leaves a block of 64 bytes, 80 with what the allocator adds.
check "heap in use at rest, kB, starts deducted" rest '($4 - 80 * $10) / 1000' least 100
# With what is mapped: a picture has 1843 kB.
check "resident at rest but for free heap, kB" rest '($3 - $5) / 1000' least 3000
check "threads at rest" rest '$6' least 0
check "descriptors at rest" rest '$7' least 0
check "resident at rest, median, kB" rest '$3 / 1000' median 40000
check "resident at play, median, kB" play '$3 / 1000' median 40000
check "threads at play, median" play '$6' median 6
check "descriptors at play, median" play '$7' median 8
awk 'END { printf "%d pictures, %d starts, %d of them of stalled streams, in %d s\n", $8, $10, $9, $2 }' build/soak.log
exit "$failed"
