#!/usr/bin/env bash
# check_needed.sh LIBRARY PATTERN: every library that this one asks for matches, whole names.
set -euo pipefail
needed=$(readelf -Wd "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[[ -n $needed ]] || { echo "$1 asks for no library"; exit 1; }
strange=$(grep -vxE "$2" <<<"$needed" || true)
[[ -z $strange ]] || { echo "$1 asks for $strange"; exit 1; }
