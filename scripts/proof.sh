#!/usr/bin/env bash
# Shows that every picture a live view shows is whole and of now: plays the simulator to bench/picture_proof
# in the cases below, or in those named, and prints a line for each. About a minute a case.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/simulator.sh
build=${BUILD:-build}
seconds=${SECONDS_A_CASE:-60}
work=$(mktemp -d)
simulator=
trap 'stop_simulator; rm -rf "$work"' EXIT

stop_simulator() {
  [[ -n "$simulator" ]] && { kill "$simulator" && wait "$simulator"; } 2>/dev/null
  simulator=
}

# start_simulator ARGUMENTS...: with a bit rate at which the coding itself costs no picture its 30 dB.
start_simulator() {
  "$build/quorvid-sim" --live --bitrate 6000000 "$@" >"$work/ports" 2>"$work/sim.log" &
  simulator=$!
  port=$(fleet_port "$work/ports" "$simulator")
}

# proof NAME ARGUMENTS...: of picture_proof, on what was started last.
proof() {
  local name=$1
  shift
  timeout $((${seconds%.*} + 90)) "$build/bench/picture_proof" "127.0.0.1:$port" --duration "$seconds" "$@" \
    >"$work/$name.json" 2>"$work/$name.log" || true
  line "$name"
  stop_simulator
}

line() {
  python3 - "$1" "$work/$1.json" <<'EOF'
import json, sys
name, path = sys.argv[1:]
try:
    r = json.load(open(path))
except ValueError:
    sys.exit(f"{name}: no result")
pauses = r["pauses"]
back = [p.get("to one of now", 99) for p in pauses]
worst = f"{max(back):.3f}" if back else "-"
print(f"{name:14}{r['compared']:6}{r['worst dB']:8.1f}{r['worst cell dB']:8.1f}{r['below 30 dB']:5}"
      f"{r['unreadable']:5}{r['out of order']:5}{1000 * r['median age']:8.0f}{1000 * r['worst age']:7.0f}{1000 * r['stopping']:6.0f}{len(pauses):5}{worst:>8}"
      f"{r['held']:6}{r['lost']:6}{r['restarts']:4}")
for p in pauses if "hidden" in name else []:
    print("   ", p)
for s in r["sizes"] if "size" in name else []:
    print("   ", s)
EOF
}

# stop_and_go PID: 2 s of SIGSTOP every 6 s, while the process lives.
stop_and_go() {
  while sleep 3.8 && kill -STOP "$1" 2>/dev/null; do
    sleep 2
    kill -CONT "$1"
  done
}

stalled() {
  start_simulator --seconds 20 --gop 250
  proof stalled --seconds 20 --stall 2:5.5
}

sigstopped() {
  start_simulator --seconds 20 --gop 250
  timeout $((${seconds%.*} + 90)) "$build/bench/picture_proof" "127.0.0.1:$port" --duration "$seconds" \
    --seconds 20 >"$work/sigstopped.json" 2>"$work/sigstopped.log" &
  local viewer=$!
  sleep 10  # until the first key frame
  stop_and_go "$(pgrep -P "$viewer")" &
  local stopping=$!
  wait "$viewer" || true
  kill "$stopping" 2>/dev/null || true
  wait "$stopping" 2>/dev/null || true
  line sigstopped
  stop_simulator
}

hidden_in_bound() {
  start_simulator --seconds 20 --gop 50
  proof hidden_in_bound --seconds 20 --hide 30:5
}

hidden_beyond() {
  start_simulator --seconds 40 --gop 1000
  proof hidden_beyond --seconds 40 --hide 30:5
}

# Every 7th frame is lost, key frames too.
lost() {
  start_simulator --seconds 20 --fault lose
  proof lost --seconds 20
}

# Every 5th frame, at the same places of each group: what a camera that counts wrongly looks like.
lost_in_step() {
  start_simulator --seconds 20 --fault lose:all:5
  proof lost_in_step --seconds 20
}

lost_car() {
  start_simulator --seconds 20 --fault lose
  port=$(awk '$1 == "car" { print $2 }' "$work/ports")
  proof lost_car --seconds 20 --path car
}

resized() {
  start_simulator --seconds 20 --resize 704x576
  proof resized --seconds 20
}

# Another server on the same port, half way through.
replaced_size() {
  start_simulator --seconds 20
  local first=$simulator
  (
    sleep "$((seconds / 2))"
    kill "$first"
    exec "$build/quorvid-sim" --live --bitrate 6000000 --seconds 20 --size 704x576 --port "$port" \
      >/dev/null 2>&1
  ) &
  local second=$!
  proof replaced_size --seconds 20
  kill "$second" 2>/dev/null || true
}

slow_turns() {
  start_simulator --seconds 20 --gop 250
  proof slow_turns --seconds 20 --turns 1
}

churned() {
  start_simulator --seconds 20
  proof churned --seconds 20 --churn
}

two_threads() {
  start_simulator --seconds 20 --gop 250
  proof two_threads --seconds 20 --second-thread
}

window() {
  start_simulator --seconds 20 --gop 250
  proof window --seconds 20 --from window --stall 2:4
}

# Every processor has somebody else's work to do all the time.
taken() {
  local others=()
  start_simulator --seconds 20 --gop 250
  for _ in $(seq "$(nproc)"); do
    (while :; do :; done) &
    others+=($!)
  done
  proof taken --seconds 20
  kill "${others[@]}"
}

cases=(stalled sigstopped window hidden_in_bound hidden_beyond lost lost_in_step lost_car resized replaced_size slow_turns churned two_threads taken)
(($# > 0)) && cases=("$@")
echo "case          pictures worst dB  cell  <30  bad order  age ms  worst  stop pauses back s  held  lost restarts"
for case in "${cases[@]}"; do "$case"; done
