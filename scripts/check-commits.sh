#!/usr/bin/env bash
# Names each commit since BASE that changes more than 30 lines and has no body, which says why and
# what was seen: check-commits.sh BASE
set -euo pipefail
cd "$(dirname "$0")/.."
base=${1:?usage: check-commits.sh BASE}
wrong=0
while read -r commit; do
  lines=$(git show --numstat --format= "$commit" | awk '{ sum += $1 + $2 } END { print sum + 0 }')
  [[ $lines -le 30 || -n $(git show --no-patch --format=%b "$commit") ]] ||
    { git --no-pager show --no-patch --format="%h %s: $lines lines and no body" "$commit"; wrong=1; }
done < <(git rev-list --no-merges "$base..HEAD")
exit $wrong
