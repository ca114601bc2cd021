#!/usr/bin/env bash
# Fails when a source file is not as clang-format would write it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files '*.h' '*.c' '*.cpp' | xargs -r clang-format --dry-run --Werror
