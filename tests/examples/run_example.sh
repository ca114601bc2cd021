#!/usr/bin/env bash
# Runs one of the embedding examples against the simulator, on a screen of its own, and holds a
# screenshot of that screen against what the simulator drew: run_example.sh BUILD_FOLDER NAME [wayland]
#
# With QUORVID_TEST_KEEP=FOLDER the screenshot stays there.
set -euo pipefail
build=$1 name=$2 system=${3:-x11}
tree=$(cd "$(dirname "$0")/../.." && pwd)
# Within a compositor of its own, WAYLAND_DISPLAY and DISPLAY are there.
[[ $system == wayland ]] && exec "$tree/scripts/weston.sh" "$0" "$build" "$name" inside-wayland
source "$tree/scripts/simulator.sh"
work=$(mktemp -d)
started=()
end() {
  for ((i = ${#started[@]} - 1; i >= 0; --i)); do kill "${started[i]}" 2>/dev/null || true; done
  rm -rf "$work"
}
trap end EXIT
export GSETTINGS_BACKEND=memory GTK_A11Y=none NO_AT_BRIDGE=1

# missing PROGRAM: 77 is ctest's "skipped", unless a display is required.
missing() {
  echo "$1 is not there or does not start"
  [[ -n "${QUORVID_TEST_REQUIRE_DISPLAY:-}" ]] && exit 1
  exit 77
}
# await SECONDS COMMAND...: until it succeeds.
await() {
  local tries=$(($1 * 10))
  shift
  for _ in $(seq "$tries"); do "$@" && return; sleep 0.1; done
  return 1
}

if [[ $system == x11 ]]; then
  unset WAYLAND_DISPLAY GDK_BACKEND QT_QPA_PLATFORM SDL_VIDEODRIVER
  export XDG_RUNTIME_DIR=$work
  command -v Xvfb >/dev/null || missing Xvfb
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
  started+=($!)
  await 30 test -s "$work/display" || missing Xvfb
  export DISPLAY=:$(<"$work/display")
fi

"$build/quorvid-sim" --port 0 >"$work/ports" 2>"$work/log" &
started+=($!)
port=$(fleet_port "$work/ports" "${started[-1]}")

timeout 50 "$build/$name" 127.0.0.1 "$port" TRUCK-7 15 >"$work/example" 2>&1 &
example=$!
# The screen, until it shows all that it should: pictures begin at the stream's next key frame.
seen=1
while [[ $seen -ne 0 ]]; do
  ffmpeg -v error -y -f x11grab -draw_mouse 0 -video_size 1024x768 -i "$DISPLAY" -frames:v 1 "$work/now.png"
  kill -0 "$example" 2>/dev/null || break
  mv "$work/now.png" "$work/screen.png"
  seen=0
  "$build/tests/sim/compare_picture" "$work/screen.png" tiles >"$work/found" 2>&1 || seen=$?
done
ended=0
wait "$example" || ended=$?
[[ -z "${QUORVID_TEST_KEEP:-}" ]] || cp "$work/screen.png" "$QUORVID_TEST_KEEP/$name-$system.png"
cat "$work/found" "$work/example"
[[ $ended -eq 0 ]] || echo "the example ended with status $ended"
[[ $seen -eq 0 && $ended -eq 0 ]]
