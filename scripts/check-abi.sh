#!/usr/bin/env bash
# The C interface's functions, layouts and numbers against the record in library/quorvid.abi:
#   scripts/check-abi.sh            fails when a program built before would meet something else
#   scripts/check-abi.sh --record   writes the record anew, after an addition
# New functions and numbers pass, with a line to record them. A struct that grew is shown and fails:
# record it when all that is new stands at its end. That the library shows what the header declares
# is tested by library.exports.
set -euo pipefail
cd "$(dirname "$0")/.."
record=library/quorvid.abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A library of the declarations alone: handles stay opaque, as programs see them.
{
  echo '#include "quorvid/quorvid.h"'
  ${CC:-gcc} -E -P include/quorvid/quorvid.h | tr '\n' ' ' | sed 's/;/;\n/g' |
    sed -n '/visibility("default")/s/;$/ { __builtin_trap(); }/p'
} >"$work/stubs.c"
[[ $(wc -l <"$work/stubs.c") -gt 1 ]] || { echo "check-abi: no declarations found" >&2; exit 1; }
${CC:-gcc} -std=c11 -g -gdwarf-4 -fno-eliminate-unused-debug-types -fPIC -shared -Iinclude \
  -o "$work/quorvid.so" "$work/stubs.c"
abidw --load-all-types --headers-dir include/quorvid --no-corpus-path --no-comp-dir-path --no-show-locs \
  --type-id-style hash --out-file "$work/now.abi" "$work/quorvid.so"

if [[ ${1:-} == --record ]]; then
  sed "s|$work/||" "$work/now.abi" >"$record"
  exit
fi
status=0
abidiff --no-show-locs --non-reachable-types "$record" "$work/now.abi" >"$work/report" || status=$?
# Bits: 1 and 2 it failed, 4 something differs, 8 something is gone. Differences that are no
# additions have no exit status of their own.
if ((status & 11)) || grep -qE "^ *\[C\]|'[^']*' changed|[1-9][0-9]* Removed|[1-9][0-9]* Changed" "$work/report"; then
  cat "$work/report"
  echo "check-abi: what programs were built with has changed (a struct that grew at its end: --record)" >&2
  exit 1
fi
((status == 0)) || { cat "$work/report"; echo "check-abi: additions only; record them: scripts/check-abi.sh --record"; }
