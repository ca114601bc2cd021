#!/usr/bin/env bash
# Shows a live picture from the bundled simulator: in a window where there is a display, otherwise as a
# PNG with a line of figures. Further arguments go to `quorvid view`.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target quorvid_app quorvid_sim

ports=$(mktemp)
build/quorvid-sim --port 0 >"$ports" 2>/dev/null &
simulator=$!
trap 'kill "$simulator" 2>/dev/null || true; rm -f "$ports"' EXIT
for _ in $(seq 100); do
  port=$(awk '$1 == "fleet" { print $2; exit }' "$ports")
  [[ -n "$port" ]] && break
  kill -0 "$simulator" 2>/dev/null || { echo "demo: the simulator did not start" >&2; exit 1; }
  sleep 0.1
done
[[ -n "${port:-}" ]] || { echo "demo: the simulator gave no port" >&2; exit 1; }

view=(build/quorvid view "127.0.0.1:$port" --device TRUCK-7 --channel 0)
if [[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]]; then
  echo "A window opens: q quits, r restarts the stream, s writes a PNG, f is full screen."
  "${view[@]}" "$@"
else
  "${view[@]}" --headless --seconds 6 --snapshot quorvid-demo.png "$@"
  echo "The picture: $PWD/quorvid-demo.png"
fi
