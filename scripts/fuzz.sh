#!/usr/bin/env bash
# Builds the fuzzers and runs each for a while, as many at a time as there are processors:
#   fuzz.sh [SECONDS [FUZZER...]]   or   fuzz.sh FUZZER SECONDS
# An input that fails is kept as build-fuzz/fuzz/FUZZER-*; give it to the fuzzer as an argument.
set -euo pipefail
cd "$(dirname "$0")/.."
[[ $# -eq 2 && $1 =~ ^[a-z] ]] && set -- "$2" "$1"
export seconds=${1:-30}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
cd build-fuzz/fuzz
[[ $# -lt 2 ]] && fuzzers=(decode_units h264_syntax live probe recorder texts workers) || fuzzers=("${@:2}")
rm -rf seeds
python3 ../../fuzz/seeds.py seeds
export LSAN_OPTIONS=suppressions=$PWD/../../tests/lsan.supp:print_suppressions=0

run() {
  local known=../../fuzz/regressions/$1 longest=16384
  [[ $1 == live ]] && longest=1024  # its records are steps, not bytes of a stream
  mkdir -p "corpus/$1"
  # Whole seeds and what has failed before once; from then on shorter inputs, of which more go into a second.
  { find "seeds/$1" "$known" -type f -print0 2>/dev/null || true; } | xargs -0 "./$1" >"$1.log" 2>&1 ||
    { tail -n 60 "$1.log"; echo "fuzz: a seed of $1 failed"; return 1; }
  # Looking for leaks after each input would take most of the time; it is done at the end.
  "./$1" -detect_leaks=0 -max_total_time="$seconds" -max_len="$longest" -timeout=60 -rss_limit_mb=2048 \
    -artifact_prefix="$1-" "corpus/$1" "seeds/$1" >"$1.log" 2>&1 ||
    { tail -n 60 "$1.log"; echo "fuzz: $1 failed"; return 1; }
  awk -v name="$1" '/INITED|DONE/ { print name ": " $0 }' "$1.log"
}
export -f run
printf '%s\n' "${fuzzers[@]}" | xargs -P "$(nproc)" -I{} bash -euo pipefail -c 'run {}'
