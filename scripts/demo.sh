#!/usr/bin/env bash
# Shows a live picture from the bundled simulator: in a window where there is a display, otherwise as a
# PNG with a line of figures. Further arguments go to `quorvid view`.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/simulator.sh
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target quorvid_app quorvid_sim

ports=$(mktemp)
build/quorvid-sim --port 0 >"$ports" 2>/dev/null &
simulator=$!
trap 'kill "$simulator" 2>/dev/null || true; rm -f "$ports"' EXIT
port=$(fleet_port "$ports" "$simulator")

view=(build/quorvid view "127.0.0.1:$port" --device TRUCK-7 --channel 0)
if [[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]]; then
  echo "A window opens: q quits, r restarts the stream, s writes a PNG, f is full screen."
  "${view[@]}" "$@"
else
  "${view[@]}" --headless --seconds 6 --snapshot quorvid-demo.png "$@"
  echo "The picture: $PWD/quorvid-demo.png"
fi
