#!/usr/bin/env bash
# Runs cppcheck over the product's sources: check-cppcheck.sh BUILD_FOLDER. What is no fault has its reason in
# scripts/cppcheck-suppressions.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: check-cppcheck.sh BUILD_FOLDER}
# Speed and style are clang-tidy's; the test macros are no C++ to this one.
cppcheck --project="$build/compile_commands.json" -j 2 --quiet --error-exitcode=1 --enable=warning,portability \
  --library=posix,gnu,gtk --suppressions-list=scripts/cppcheck-suppressions.txt -i tests \
  --template='{file}:{line}: {severity}: {id}: {message}'
