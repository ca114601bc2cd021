#!/usr/bin/env bash
# The public header and the protocol page draw the same records: check_drawings.sh HEADER PAGE
#
# A field begins with + and its offset and ends at two spaces; a record begins at +0. The order of the
# records and what the page says about a field are each text's own affair.
set -euo pipefail

records() {
  grep -oE '\+[0-9]+ +[^ ]+( [^ ]+)*' "$1" | sed -E 's/ +/ /' |
    awk '/^\+0 / { if (n++) print record; record = "" } { record = record "  " $0 } END { print record }' |
    sort
}

header=$(records "$1")
[[ $(wc -l <<< "$header") -ge 10 ]] || { echo "only these records found in $1:"; echo "$header"; exit 1; }
diff <(echo "$header") <(records "$2") || { echo "< $1, > $2: drawn differently"; exit 1; }
