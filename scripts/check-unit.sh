#!/usr/bin/env bash
# Holds packaging/systemd/quorvid-record@.service to systemd's own rules: check-unit.sh BUILD_FOLDER. The exposure
# that systemd sees must stay at 1.0 of 10 at most.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:?usage: check-unit.sh BUILD_FOLDER}" && pwd)
command -v systemd-analyze >/dev/null || { echo "no systemd-analyze here: the unit is not checked"; exit 0; }
units=$(mktemp -d)
trap 'rm -r "$units"' EXIT
# As installed, but with this build's program, and without the manual page.
sed -e "s|^ExecStart=/usr/bin/quorvid|ExecStart=$build/quorvid|" -e '/^Documentation=/d' \
  packaging/systemd/quorvid-record@.service >"$units/quorvid-record@.service"
systemd-analyze verify "$units/quorvid-record@.service"
systemd-analyze security --no-pager --offline=true --threshold=10 "$units/quorvid-record@.service" | tail -1
