#!/usr/bin/env bash
# Does what a page tells its reader to do, as it stands, and prints how long each program took to its picture:
#   page-programs.sh PAGE FOLDER
# Blocks behind <!-- run --> are commands, one script together, in FOLDER; behind <!-- file: NAME --> they are
# files. For root on a system of its own: the commands install packages. The last one put into the background
# is ended. Pictures are what .ppm and .png files are there afterwards.
# shellcheck disable=SC2016  # what stands in single quotes is for the shell inside
set -euo pipefail
page=$(realpath "${1:?usage: page-programs.sh PAGE FOLDER}")
mkdir -p "${2:?usage: page-programs.sh PAGE FOLDER}"
cd "$2"
fail() { tail -20 trace >&2; echo "page-programs: $1" >&2; exit 1; }
echo 'set -euo pipefail; sudo() { "$@"; }; trap "kill \$! || true" EXIT; PS4="@ \$EPOCHREALTIME "; set -x' >run
awk '/^<!-- run -->$/ { to = "run" } /^<!-- file: .* -->$/ { to = $3 }
  to && /^```/ { inside = !inside; if (!inside) to = ""; next }
  to && inside { print >>to }' "$page"
[[ $(wc -l <run) -gt 1 ]] || fail "nothing in $page is to be run"
DEBIAN_FRONTEND=noninteractive bash run >output 2>trace || fail "what $page says doesn't work"
grep pictures output || true

# A picture is there when its file is whole. The trace has the second at which the program began.
for picture in *.ppm *.png; do
  begun=$(awk -v end="[ =]$picture\$" '$1 == "@" && $0 ~ end { print $2; exit }' trace)
  colours=$(od -An -v -tu1 -w1 "$picture" | sort -u | wc -l)
  [[ -n $begun && $colours -gt 100 ]] || fail "$picture is no picture of the page's"
  awk -v name="$picture" -v from="$begun" -v to="$(stat -c %.6Y "$picture")" \
    'BEGIN { printf "%s: written %.2f s after its program began\n", name, to - from }'
done
