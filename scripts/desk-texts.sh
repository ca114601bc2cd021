#!/usr/bin/env bash
# Brings quorvid-desk's texts up to date: what the sources say (apps/desk/po/POTFILES.in, quorvid-desk.pot) and, in
# each language's .po, what was added, changed or has gone. With --check FOLDER only the first, into FOLDER.
# Needs Debian's gettext.
set -euo pipefail
cd "$(dirname "$0")/.."
po=apps/desk/po
to=$po
[[ ${1:-} != --check ]] || to=${2:?usage: desk-texts.sh [--check FOLDER]}

{
  echo "# Where texts are: written by scripts/desk-texts.sh."
  find apps/desk \( -name '*.cpp' -o -name '*.h' -o -name '*.ui' \) -print0 |
    xargs -0 grep -lE '\btr[fn]?\(("|$)|translatable="yes"' | LC_ALL=C sort
} >"$to/POTFILES.in"

sources() { grep '^apps/' "$to/POTFILES.in" | grep -E "$1\$"; }
common=(--from-code=UTF-8 --add-comments=Translators --package-name=quorvid-desk --package-version=1
  --copyright-holder='the authors of Quorvid' --msgid-bugs-address=maintainers@quorvid.example)
# N_() marks a text that is handed on to trf(); so does tooLong(). Places are {}, which scripts/check-desk.sh looks
# at; a % means a per cent.
sources '\.(cpp|h)' | xargs xgettext "${common[@]}" --language=C++ --output="$to/cpp.tmp" \
  --keyword --keyword=tr --keyword=trf --keyword=trn:1,2 --keyword=N_ --keyword=tooLong \
  --flag=tr:1:no-c-format --flag=trf:1:no-c-format --flag=trn:1:no-c-format --flag=trn:2:no-c-format
sources '\.ui' | xargs xgettext "${common[@]}" --output="$to/ui.tmp" --its=/usr/share/gettext/its/gtk4builder.its
sed -i 's/charset=CHARSET/charset=UTF-8/' "$to/cpp.tmp" "$to/ui.tmp"
# Without lines and dates, which would change it with every commit.
msgcat --use-first --add-location=file --sort-output "$to/cpp.tmp" "$to/ui.tmp" |
  sed -e '/^"POT-Creation-Date:/d' -e '/^#, no-c-format$/d' -e 's/^# SOME DESCRIPTIVE TITLE\./# Texts of quorvid-desk./' >"$to/quorvid-desk.pot"
rm "$to/cpp.tmp" "$to/ui.tmp"
[[ $to == "$po" ]] || exit 0

while read -r language; do
  msgmerge --quiet --update --backup=none --add-location=file --sort-output --no-fuzzy-matching \
    "$po/$language.po" "$po/quorvid-desk.pot"
  echo "$language: $(LC_ALL=C msgfmt --statistics -o /dev/null "$po/$language.po" 2>&1)"
done < <(grep '^[a-z]' "$po/LINGUAS")
