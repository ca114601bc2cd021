# For scripts that start a simulator with its standard output in a file; sourced.

# fleet_port FILE PID: waits for the port of the fleet streams and prints it. Fails after 30 s, or as soon
# as the simulator has ended.
fleet_port() {
  local port
  for _ in $(seq 300); do
    port=$(awk '$1 == "fleet" { print $2; exit }' "$1" 2>/dev/null || true)
    [[ -n "$port" ]] && { echo "$port"; return; }
    kill -0 "$2" 2>/dev/null || break
    sleep 0.1
  done
  echo "the simulator gave no port" >&2
  return 1
}
