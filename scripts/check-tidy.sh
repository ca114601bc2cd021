#!/usr/bin/env bash
# Runs clang-tidy over the sources, and says which are clean: check-tidy.sh BUILD_FOLDER [FILE...]
# Without files all are looked at, those first that have changed since $BASE (origin/main).
set -euo pipefail
cd "$(dirname "$0")/.."
export build=${1:?usage: check-tidy.sh BUILD_FOLDER [FILE...]}
shift
files=("$@")
if [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <({ git diff --name-only --diff-filter=d "${BASE:-origin/main}" -- '*.cpp' 2>/dev/null || true
                         git ls-files '*.cpp'; } | awk '!seen[$0]++')
fi
look() { clang-tidy --quiet -p "$build" "$1" 2>/dev/null && echo "clean: $1"; }
export -f look
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -I{} bash -c 'look {}'
