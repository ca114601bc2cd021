#!/usr/bin/env bash
# What quorvid-desk has beside its code: the entry in menus, what software catalogues say, its windows' files, its
# texts in other languages. What isn't there to check with is left out with a line; with --all it fails.
set -euo pipefail
cd "$(dirname "$0")/.."
all=${1:-}
po=apps/desk/po
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
wrong=0
complain() { echo "check-desk: $1" >&2; wrong=1; }
has() {
  command -v "$1" >/dev/null && return
  [[ -z $all ]] || complain "$1 is not there"
  echo "check-desk: without $1" >&2
  return 1
}

entry=apps/desk/data/example.quorvid.Desk.desktop
metainfo=${entry%.desktop}.metainfo.xml
! has desktop-file-validate || desktop-file-validate "$entry" || complain "$entry"
! has appstreamcli || appstreamcli validate --no-net "$metainfo" || complain "$metainfo"
released=$(sed -nE 's/^## \[([0-9.]+)\].*/\1/p' CHANGELOG.md | xargs)
described=$(sed -nE 's/.*<release version="([0-9.]+)".*/\1/p' "$metainfo" | xargs)
[[ $released == "$described" ]] || complain "$metainfo has the releases $described, the changelog $released"
mapfile -t languages < <(grep '^[a-z]' "$po/LINGUAS")
for language in "${languages[@]}"; do
  grep -qF "Name[$language]=" "$entry" || complain "$entry does not speak $language"
  grep -qF "<summary xml:lang=\"$language\">" "$metainfo" || complain "$metainfo does not speak $language"
done

! has xmllint || find apps/desk \( -name '*.ui' -o -name '*.xml' -o -name '*.svg' \) -print0 |
  xargs -0 xmllint --noout --nonet || complain "not well formed"
# The pane's file is in the program.
for file in apps/desk/resources/*.ui; do
  grep -qF ">${file##*/}<" apps/desk/resources/desk.gresource.xml || complain "$file is in no resource"
done

if has xgettext; then
  scripts/desk-texts.sh --check "$work"
  for file in POTFILES.in quorvid-desk.pot; do
    diff -u "$po/$file" "$work/$file" || complain "$po/$file is old: run scripts/desk-texts.sh"
  done
  for language in "${languages[@]}"; do
    LC_ALL=C msgfmt -c -o /dev/null "$po/$language.po" || complain "$po/$language.po"
    for kind in untranslated fuzzy; do
      selection=--only-$kind
      [[ $kind != untranslated ]] || selection=--untranslated
      found=$(msgattrib --no-obsolete "$selection" --no-wrap "$po/$language.po" | grep -cE '^msgid ".+"' || true)
      [[ $found -eq 0 ]] || complain "$po/$language.po: $found messages are $kind"
    done
    # What came to the sources is in it, too.
    msgcmp "$po/$language.po" "$po/quorvid-desk.pot" || complain "$po/$language.po does not have all texts"
    python3 scripts/desk_texts_check.py "$po/$language.po" || wrong=1
  done
fi
[[ $wrong -ne 0 ]] || echo "check-desk: in order"
exit $wrong
