#!/usr/bin/env bash
# Installs the Debian packages that building and testing need; asks for root only when it is not root.
#   scripts/setup.sh           what the demo and the tests need
#   scripts/setup.sh --checks  also the compilers, checkers and toolkits of the full check run
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/packages.sh"

wanted=("${build_packages[@]}" "${test_packages[@]}")
[[ "${1:-}" == "--checks" ]] && wanted+=("${check_packages[@]}" "${toolkit_packages[@]}"
                                      "${desk_packages[@]}" "${gstreamer_packages[@]}")

missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

root=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || {
    echo "setup: installing ${missing[*]} needs root: run as root, or install sudo" >&2
    exit 1
  }
  root=(sudo)
fi
echo "setup: installing ${missing[*]}" >&2
"${root[@]}" apt-get update -qq
"${root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
