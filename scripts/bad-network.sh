#!/usr/bin/env bash
# Plays the simulator to `quorvid view` over bad links, and prints a table: pictures shown, the longest
# freeze, the lag, how long until it is live again, and whether that is as expected. About 6 minutes.
#   scripts/bad-network.sh [--short] [--jobs N] [--seed N] [CASE...]
#     CASE     good, delay, loss2, loss20, ... (all): bench/link/cases.py says what each is
#     --short  three cases within a minute, for a check
#     --jobs   cases at a time (3)
#     --seed   of what is lost, late and out of order (1)
# Both ends are network namespaces, joined by bad_link through two TUN devices: nothing of this reaches
# the machine's own network. Needs root, or a system that lets users make namespaces and TUN devices;
# where it doesn't, this says so and ends with 0. Logs go to $OUT (build/bad-network).
set -euo pipefail
cd "$(dirname "$0")/.."
for word in "$@"; do
  [[ "$word" == -h || "$word" == --help ]] && { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"; exit; }
done
own=()
[[ $(id -u) -eq 0 ]] || own=(unshare --user --map-root-user)
skip() { echo "bad-network: skipped: $1"; exit 0; }
command -v ip >/dev/null || skip "there is no ip (package iproute2)"
# shellcheck disable=SC2016  # for the inner shell
"${own[@]}" unshare --net sh -c 'ip tuntap add dev quorvid0 mode tun' 2>/dev/null ||
  skip "no network namespace with a TUN device can be made here"

build=${BUILD:-build}
if [[ "$build" == build ]]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target quorvid_app quorvid_sim bad_link >/dev/null
fi
exec "${own[@]}" python3 -B bench/link/run.py --build "$build" --out "${OUT:-$build/bad-network}" "$@"
