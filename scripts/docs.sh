#!/usr/bin/env bash
# Builds the site of the pages and the public headers into build/docs/html (or $OUT/html), and fails where
# a link of a page, or a reference of a header, leads nowhere.
set -euo pipefail
cd "$(dirname "$0")/.."
out=${OUT:-build/docs}
pages=(README.md CHANGELOG.md SECURITY.md port/README.md docs/*.md)
mapfile -t headers < <(find include/quorvid -name "*.h" | sort)
python3 scripts/docs_check.py "${pages[@]}" "${headers[@]}"

mkdir -p "$out"
rm -rf "$out/html"
QUORVID_VERSION=$(sed -n 's/^project(quorvid VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export QUORVID_VERSION
(cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = $out") | doxygen -
echo "docs: $out/html/index.html"
