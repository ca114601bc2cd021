#!/usr/bin/env bash
# Looks at each program and library in a build folder or an installed tree: check-binaries.sh FOLDER
#   run path   every element starts at $ORIGIN or is absolute; an empty or relative one would
#              load libraries from the current directory
#   hardening  position-independent, bound at the start, relocations read-only, no executable stack,
#              stack protector, fortified C library; on x86 each object marks its indirect-jump targets
# A sanitizer build is not hardened; there only the run paths count. A debug build is not fortified.
set -euo pipefail
folder=${1:?usage: check-binaries.sh FOLDER}
wrong=0
setting() { sed -n "s/^$1:[A-Z]*=//p" "$folder/CMakeCache.txt" 2>/dev/null || true; }
sanitized=$(setting QUORVID_SANITIZE)
build_type=$(setting CMAKE_BUILD_TYPE)
complain() { echo "$1: $2"; wrong=1; }

check_run_path() {
  local paths element
  paths=$(sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2/p' <<<"$dynamic")
  [[ -n $paths || $dynamic != *PATH\)* ]] || complain "$1" "empty run path"
  while [[ -n $paths ]]; do
    element=${paths%%:*}
    [[ $element == '$ORIGIN' || $element == '$ORIGIN/'* || $element == /* ]] ||
      complain "$1" "run path element \"$element\" depends on the current directory"
    [[ $paths != *: ]] || complain "$1" "run path ends in an empty element"
    [[ $paths == *:* ]] && paths=${paths#*:} || paths=""
  done
}

check_hardening() {
  local symbols
  symbols=$(readelf -W --dyn-syms "$1")
  grep -q 'Type: *DYN' <<<"$header" || complain "$1" "fixed address"
  grep -q BIND_NOW <<<"$dynamic" || complain "$1" "symbols are bound late"
  grep -q GNU_RELRO <<<"$header" || complain "$1" "relocations stay writable"
  grep -qE 'GNU_STACK .* RW +0x' <<<"$header" || complain "$1" "executable stack"
  grep -q '__stack_chk_fail' <<<"$symbols" || complain "$1" "no stack protector"
  # clang leaves calls plain that it can't check in C++; in all but libquorvid.so that may be each of them.
  [[ $1 != *libquorvid.so* || $build_type == Debug ]] || grep -qE '__[a-z]+_chk@' <<<"$symbols" ||
    complain "$1" "no fortified call"
}

count=0
while read -r file; do
  header=$(readelf -Whl "$file" 2>/dev/null) || continue
  dynamic=$(readelf -Wd "$file")
  count=$((count + 1))
  check_run_path "$file"
  [[ -n $sanitized ]] || check_hardening "$file"
done < <(find "$folder" -type f \( -perm -u+x -o -name '*.so*' \) -not -path '*/CMakeFiles/*')
[[ $count -ge 3 ]] || complain "$folder" "only $count programs and libraries"

if [[ -z $sanitized && $(uname -m) == x86_64 ]]; then
  unmarked=()
  while read -r file; do
    readelf -Wn "$file" | grep 'IBT.*SHSTK' >/dev/null || unmarked+=("$file")
  done < <(find "$folder" -name '*.o')
  [[ ${#unmarked[@]} -eq 0 ]] ||
    complain "${unmarked[0]}" "no control-flow protection (${#unmarked[@]} such objects)"
fi
[[ $wrong -eq 0 ]] && echo "$folder: $count programs and libraries are in order"
exit $wrong
