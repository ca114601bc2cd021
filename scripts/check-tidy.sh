#!/usr/bin/env bash
# Runs clang-tidy over the sources: check-tidy.sh BUILD_FOLDER [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: check-tidy.sh BUILD_FOLDER [FILE...]}
shift
files=("$@")
if [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <(git ls-files '*.cpp')
fi
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build" 2>/dev/null
