#!/usr/bin/env bash
# weston.sh COMMAND...: runs a command inside a Wayland compositor of its own, which draws into the
# window of an X server of its own. The command finds both, WAYLAND_DISPLAY and DISPLAY (for
# screenshots); XDG_RUNTIME_DIR is a new folder, and SDL, GTK and Qt are told to use Wayland.
# QUORVID_TEST_WESTON holds the compositor's process, QUORVID_TEST_SCREEN the size of the screen. All
# of it ends with the command, however that ends.
# Exit status: the command's; 77 where a program is missing, unless QUORVID_TEST_REQUIRE_DISPLAY is set.
set -euo pipefail
size=${QUORVID_TEST_SCREEN:-1024x768}

absent() {
  echo "$1" >&2
  [[ -z "${QUORVID_TEST_REQUIRE_DISPLAY:-}" ]] && exit 77
  exit 1
}
for program in weston Xvfb; do
  command -v "$program" >/dev/null || absent "$program is not there (packages weston, xvfb)"
done

work=$(mktemp -d)
weston='' server=''
finish() {
  # A compositor that loses its X server before it ends may go on for ever.
  for process in $weston $server; do
    kill -CONT "$process" 2>/dev/null || true
    kill "$process" 2>/dev/null || continue
    for _ in $(seq 20); do kill -0 "$process" 2>/dev/null || break; sleep 0.1; done
    kill -KILL "$process" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 143' TERM INT HUP
export XDG_RUNTIME_DIR=$work/run
mkdir -m 700 "$XDG_RUNTIME_DIR"

# It writes its display number once it is there.
Xvfb -displayfd 3 -screen 0 "${size}x24" -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
server=$!
# waits FILE PROCESS: until the file is there and not empty, 60 s at most.
waits() {
  for _ in $(seq 600); do
    [[ -s "$1" || -S "$1" ]] && return
    kill -0 "$2" 2>/dev/null || break
    sleep 0.1
  done
  cat "$work"/*.log >&2
  absent "$3 does not start"
}
waits "$work/display" "$server" Xvfb
DISPLAY=:$(<"$work/display")
export DISPLAY

weston --no-config --backend=x11-backend.so --use-pixman --idle-time=0 --socket=wayland-test \
  --width="${size%x*}" --height="${size#*x}" >"$work/weston.log" 2>&1 &
weston=$!
waits "$XDG_RUNTIME_DIR/wayland-test" "$weston" weston
export WAYLAND_DISPLAY=wayland-test QUORVID_TEST_WESTON=$weston QUORVID_TEST_SCREEN=$size
export SDL_VIDEODRIVER=wayland GDK_BACKEND=wayland QT_QPA_PLATFORM=wayland

"$@"
