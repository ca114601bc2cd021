#!/usr/bin/env bash
# Which lines of the code that reads a server's bytes the tests and the fuzzers' inputs reach, as a table: needs clang
# and llvm. Unreached lines are listed with the reason that fuzz/unreached.txt has for them; one without fails.
#   coverage.sh [--no-tests]     the inputs are those of build-fuzz/fuzz/corpus, if scripts/fuzz.sh was run, and the seeds
set -euo pipefail
cd "$(dirname "$0")/.."
fuzzers=(decode_units h264_syntax live probe recorder texts workers)
tests=(connection_test h264_test decoder_test decoder_stream_test av_test live_test live_status_test live_allocation_test
       capi_test app_test app_process_test)
[[ "${1:-}" == --no-tests ]] && tests=()
llvm=$(dirname "$(readlink -f "$(command -v clang)")")
cmake --preset coverage >/dev/null
cmake --build build-coverage --target fuzzers ${tests[@]+"${tests[@]}"}
cd build-coverage
rm -rf profiles seeds && mkdir profiles
python3 ../fuzz/seeds.py seeds

for fuzzer in "${fuzzers[@]}"; do
  # One after the other in one process, as far as the fuzzer can.
  { find "seeds/$fuzzer" "../fuzz/regressions/$fuzzer" "../build-fuzz/fuzz/corpus/$fuzzer" -type f -print0 2>/dev/null ||
    true; } | LLVM_PROFILE_FILE=profiles/$fuzzer-%p.profraw xargs -0 -n 2000 "fuzz/$fuzzer" >"$fuzzer.log" 2>&1 ||
    { tail -n 40 "$fuzzer.log"; exit 1; }
done
# As ctest runs them, each case in a process of its own; %m: all that run a program add to one file. Windows, and what isn't built, are left out.
for room in ${tests[@]+connection h264 decoder port live capi apps}; do
  LLVM_PROFILE_FILE=$PWD/profiles/tests-%4m.profraw ctest --test-dir "tests/$room" -j "$(nproc)" -E 'View\.|wayland|NOT_BUILT' \
    >"tests-$room.log" 2>&1 || echo "coverage: a test of $room failed; its lines count all the same"
done

objects=()
for program in "${fuzzers[@]/#/fuzz/}" $(find tests -name '*_test' -type f) quorvid libquorvid*.so; do
  [[ -f $program && ! -L $program ]] && objects+=(-object "$program")
done
for run in tests "${fuzzers[@]}"; do
  compgen -G "profiles/$run-*.profraw" >/dev/null || continue
  "$llvm/llvm-profdata" merge --sparse -o "profiles/$run.profdata" profiles/"$run"-*.profraw
  "$llvm/llvm-cov" export -format=lcov -instr-profile "profiles/$run.profdata" "${objects[@]}" \
    >"profiles/$run.lcov" 2>/dev/null
done
rm profiles/*.profraw
python3 ../scripts/coverage.py ../fuzz/unreached.txt profiles/*.lcov
