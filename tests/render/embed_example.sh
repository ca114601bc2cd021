#!/usr/bin/env bash
# Runs the embedding example against the simulator: embed_example.sh BUILD_FOLDER
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$work"' EXIT

: >"$work/ports"  # there before the simulator is
"$build/quorvid-sim" --port 0 >"$work/ports" 2>"$work/log" &
simulator=$!
for _ in $(seq 100); do
  port=$(awk '$1 == "fleet" { print $2 }' "$work/ports")
  [[ -n $port ]] && break
  sleep 0.1
done

# Exits with 0 only if both views showed a picture.
"$build/embed_sdl" "127.0.0.1:$port" TEST --headless --seconds 4 --snapshot "$work/picture.bmp" \
  >/dev/null 2>"$work/example.log" || { grep -v IOS8VT "$work/example.log" || true; exit 1; }
[[ $(head -c 2 "$work/picture.bmp") == BM ]]
