#!/usr/bin/env bash
# Installs a build as the README says and uses it as a stranger would: check-install.sh BUILD_FOLDER
set -euo pipefail
build=$(realpath "${1:?usage: check-install.sh BUILD_FOLDER}")
source=$(realpath "$(dirname "$0")/..")
source "$source/scripts/simulator.sh"
work=$(mktemp -d)
simulator=
trap '[[ -z $simulator ]] || kill "$simulator" 2>/dev/null || true; rm -rf "$work"' EXIT
fail() { echo "check-install: $1" >&2; exit 1; }

# A directory whose files have the libraries' names, which no program may take for them.
mkdir "$work/trap"
cd "$work/trap"
ldd "$build/quorvid" | awk '{ print $1 }' | grep '^lib' | xargs touch
runs() { "$@" --version >/dev/null || fail "does not run: $*"; }
runs "$build/quorvid"

# The README's block, as it stands.
mkdir "$work/readme"
ln -s "$build" "$work/readme/build"
ln -s "$source/examples" "$work/readme/examples"
sed -n '/^prefix=/,/^```/{/^```/!p}' "$source/README.md" >"$work/block"
[[ $(wc -l <"$work/block") -eq 3 ]] || fail "the README has no install and compile lines"
(cd "$work/readme" && HOME=$work/home bash -euo pipefail "$work/block" >/dev/null)
prefix=$work/home/.local
for library in libquorvid libquorvid-window; do
  ldd "$work/readme/live_view" | grep "$library.so.* => $prefix/" >/dev/null ||
    fail "live_view takes another $library"
done
set +e
"$work/readme/live_view" 2>"$work/usage"
[[ $? -eq 2 ]] && grep -q usage "$work/usage" || fail "live_view does not start"
set -e

# A relative prefix, a staged one, and a tree that was moved.
(cd "$work" && cmake --install "$build" --prefix relative >/dev/null)
DESTDIR=$work/stage cmake --install "$build" --prefix /opt/quorvid >/dev/null
mv "$prefix" "$work/moved"
for tree in "$work/moved" "$work/relative" "$work/stage/opt/quorvid"; do
  runs "$tree/bin/quorvid"
  runs "$tree/bin/quorvid-sim"
  if [[ -x $build/quorvid-desk ]]; then
    runs "$tree/bin/quorvid-desk"
    # Its texts move with it.
    [[ ! -e $build/apps/desk/po/locale ]] ||
      LANGUAGE=de LC_ALL=C.UTF-8 "$tree/bin/quorvid-desk" --help | grep Einstellungen >/dev/null ||
      fail "$tree: quorvid-desk speaks no German"
  fi
  "$source/scripts/check-binaries.sh" "$tree" >"$work/report" || { cat "$work/report"; exit 1; }
done
# What tells compilers where the library is moves with it.
"$source/scripts/build-hosts.sh" "$work/hosts" "$work/moved"
ldd "$work/hosts/pkg-config/live_view" | grep "libquorvid.so.* => $work/moved/" >/dev/null ||
  fail "a program built with pkg-config takes another libquorvid"

# The Python package of a tree that was moved takes that tree's library.
if /usr/bin/python3 -c 'import numpy' 2>/dev/null; then
  taken=$(env -u QUORVID_LIBRARY_DIR PYTHONPATH="$work/moved/lib/python3/dist-packages" /usr/bin/python3 -B \
    -c 'import quorvid; print(open("/proc/self/maps").read())' | grep -c " $work/moved/lib/libquorvid" || true)
  [[ $taken -gt 0 ]] || fail "the Python package takes another library"
fi

# A picture through the installed programs alone.
"$work/moved/bin/quorvid-sim" --port 0 >"$work/ports" 2>/dev/null &
simulator=$!
port=$(fleet_port "$work/ports" "$simulator")
"$work/moved/bin/quorvid" view "127.0.0.1:$port" --device TRUCK-7 --channel 0 --headless --seconds 4 \
  --snapshot "$work/picture.png" >/dev/null 2>"$work/log" || { cat "$work/log"; fail "no live picture"; }
[[ -s $work/picture.png ]] || fail "no picture file"
echo "$build: installs and runs"
