#!/usr/bin/env bash
# Fails when a source file is not as clang-format would write it, or differs in what neither it nor
# clang-tidy looks at: guards, comment marks, the namespace of sized integers.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files '*.h' '*.c' '*.cpp' | xargs -r clang-format --dry-run --Werror

wrong=0
# complain SENTENCE FILE...: one line a file; without files all is well.
complain() {
  local sentence=$1
  shift
  [[ $# -eq 0 ]] || { printf "%s: $sentence\n" "$@"; wrong=1; }
}
# A header that says what it is to C++ alone serves C, too: it has another guard and no namespace.
mapfile -t files < <(git ls-files '*.h' | xargs grep -L -e '^#pragma once$' -e __cplusplus)
complain 'no #pragma once' "${files[@]}"
mapfile -t files < <(git ls-files '*.h' '*.c' '*.cpp' | xargs grep -nE '^\s*(///|/\*)' | cut -d: -f1,2)
complain 'comments are written with //' "${files[@]}"
# In front of comments and literals.
sized='(u?int(8|16|32|64|ptr)_t|size_t|ptrdiff_t)'
mapfile -t files < <(git ls-files '*.h' '*.cpp' | xargs grep -L __cplusplus |
  xargs grep -nP '^((?!//|").)*(?<![:\w])'"$sized"'\b' | cut -d: -f1,2)
complain 'std:: is missing' "${files[@]}"
exit $wrong
