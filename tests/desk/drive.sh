#!/usr/bin/env bash
# quorvid-desk as somebody uses it, on a screen and a bus of its own: drive.sh BUILD_FOLDER desk|phone|touch
#
# With QUORVID_TEST_SCREENSHOTS=FOLDER pictures of what was seen stay there.
set -euo pipefail
build=$1 where=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
started=()
end() {
  for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap end EXIT
# missing THING: 77 is ctest's "skipped", unless a display is required.
missing() {
  echo "$1 is not there or does not start"
  [[ -n "${QUORVID_TEST_REQUIRE_DISPLAY:-}" ]] && exit 1
  exit 77
}
for program in Xvfb xdotool dbus-run-session ffmpeg ffprobe; do
  command -v "$program" >/dev/null || missing "$program"
done
[[ -e /usr/share/dbus-1/services/org.a11y.Bus.service ]] || missing at-spi2-core
# Debian's own Python is the one that has Debian's bindings.
python=/usr/bin/python3
"$python" -c 'import gi; gi.require_version("Atspi", "2.0")' 2>/dev/null || missing "gir1.2-atspi-2.0 or python3-gi"

# Somebody who has never been here.
unset WAYLAND_DISPLAY GDK_DEBUG GSK_RENDERER G_MESSAGES_DEBUG AT_SPI_BUS_ADDRESS GTK_A11Y NO_AT_BRIDGE
export HOME=$work XDG_RUNTIME_DIR=$work/run XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export XDG_CACHE_HOME=$work/cache GDK_BACKEND=x11 GSETTINGS_BACKEND=memory LC_ALL=C.UTF-8
mkdir -m 700 "$work/run" "$work/config"
echo 'XDG_VIDEOS_DIR="$HOME/films"' >"$work/config/user-dirs.dirs"

server=(Xvfb -screen 0 1280x800x24)
if [[ "$where" == touch ]]; then
  # Itself, and not what starts it for those who sit at the machine.
  server=(/usr/lib/xorg/Xorg -config "$work/xorg.conf" -logfile "$work/xorg.log" -noreset -novtswitch -sharevts)
  [[ -x "${server[0]}" ]] || missing xserver-xorg-core
  sed "s|FOLDER|$work|" "$here/xorg-touch.conf" >"$work/xorg.conf"
fi
"${server[@]}" -displayfd 3 -nolisten tcp 3>"$work/display" 2>/dev/null &
started+=($!)
for _ in {1..300}; do [[ -s "$work/display" ]] && break; sleep 0.1; done
if [[ ! -s "$work/display" ]]; then
  # Not everybody may start one with devices, wherever a display is required.
  [[ "$where" == touch ]] && unset QUORVID_TEST_REQUIRE_DISPLAY
  missing "${server[0]}"
fi
export DISPLAY=:$(<"$work/display")
dbus-run-session -- "$python" -B "$here/drive.py" "$build" "$where" "$work" 2>&1
