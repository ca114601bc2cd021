#!/usr/bin/env bash
# Builds the Debian packages into build-package/packages, looks at them with lintian, installs them into a
# bare Debian 12, where programs are built against them, and removes them again. In a second one everything is
# done that docs/getting-started.md says about the packages.
# The bare root needs root, debootstrap and a network; where one is missing, a line says that it was left out.
# shellcheck disable=SC2016  # what stands in single quotes is for the shell inside
set -euo pipefail
cd "$(dirname "$0")/.."
packages=$PWD/build-package/packages
root='' reader=''
say() { echo "packages-check: $1 (at $SECONDS s)"; }
fail() { echo "packages-check: $1" >&2; exit 1; }
left_out() { echo "packages-check: not installed anywhere: $1"; exit 0; }

cmake --preset package >/dev/null
cmake --build --preset package
rm -rf "$packages"
(cd build-package && cpack >cpack.log 2>&1) || { cat build-package/cpack.log; fail "no packages"; }

# What was linked is what is packed: build ids and protections stay when symbols go. And nothing lies in a
# folder of this machine.
unpacked=$(mktemp -d)
finish() {
  rm -rf "$unpacked"
  [[ -n $root ]] || return 0
  # Nothing is removed while this machine's folders are still in there.
  for folder in {"$root","$reader"}/{dev,proc}; do
    ! mountpoint -q "$folder" || umount "$folder" || return 0
  done
  rm -rf --one-file-system "$root" "$reader"
}
trap finish EXIT
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$unpacked"; done
scripts/check-binaries.sh "$unpacked"
while read -r file; do
  readelf -n "$file" | grep 'Build ID' >/dev/null || fail "no build id: $file"
  ! readelf -S "$file" | grep -F .symtab >/dev/null || fail "not stripped: $file"
  ! readelf -d "$file" | grep -E 'R(UN)?PATH' >/dev/null || fail "a run path: $file"
done < <(find "$unpacked" -type f \( -path '*/bin/*' -o -name '*.so*' \))
! grep -rl "$PWD" "$unpacked" || fail "names this folder"
lintian --fail-on error,warning "$packages"/*.deb || fail "lintian has objections"
say "built, lintian has no objection"

[[ $(id -u) -eq 0 ]] || left_out "that takes root"
command -v debootstrap >/dev/null || left_out "debootstrap is not there"
root=$(mktemp -d)
reader=$root-reader
mkdir "$root/proc" "$root/dev"
{ mount --bind /proc "$root/proc" && umount "$root/proc"; } 2>/dev/null || left_out "no folder can be bound here"

# Debian's own sources of this machine; those of others are not needed.
mirror=http://deb.debian.org/debian
sources=()
for file in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
  [[ ! -s $file ]] || sources+=("$file")
done
[[ ${#sources[@]} -eq 0 ]] || mirror=$(sed -nE '/^ *#/!s|.*(https?://[^ ]+/debian)/?( .*)?$|\1|p' "${sources[@]}" | head -1)
debootstrap --variant=minbase bookworm "$root" "$mirror" >"$unpacked/log" 2>&1 ||
  { tail -5 "$unpacked/log"; left_out "no bare Debian could be made from $mirror"; }
mkdir -p "$root/etc/apt/sources.list.d" "$root/packages" "$root/source"
for file in "${sources[@]}"; do cp "$file" "$root$file"; done
[[ ! -e $root/etc/apt/sources.list.d/debian.sources ]] || rm -f "$root/etc/apt/sources.list"
cp /etc/resolv.conf "$root/etc/"
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/quick"
cp "$packages"/*.deb "$root/packages/"
cp -r docs examples scripts "$root/source/"
cp -a "$root" "$reader"
for folder in {"$root","$reader"}/{dev,proc}; do mount --bind "/${folder##*/}" "$folder"; done
inside() {
  chroot "${2:-$root}" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    bash -euo pipefail -c "$1"
}
install='apt-get install -qq --no-install-recommends'

say "a bare Debian is made"
inside "apt-get update -qq && $install man-db /packages/*.deb" >"$unpacked/log" 2>&1 ||
  { tail -20 "$unpacked/log"; fail "can't be installed"; }
say "installed"
names=$(for package in "$packages"/*.deb; do dpkg-deb -f "$package" Package; done | xargs)
inside 'quorvid --version; quorvid-sim --version; man -w quorvid quorvid-view quorvid-sim; man -w 3 quorvid'
case " $names " in *quorvid-desk*) inside 'quorvid-desk --version; man -w quorvid-desk; LANGUAGE=de quorvid-desk --help | grep Diese' ;; esac
case " $names " in *python3-quorvid*) inside 'python3 -c "import quorvid; print(quorvid.__file__)"' ;; esac
case " $names " in
  *gstreamer1.0-quorvid*)
    inside "$install gstreamer1.0-tools" >"$unpacked/log" 2>&1 || { tail -20 "$unpacked/log"; fail "no gst-inspect"; }
    inside 'gst-inspect-1.0 quorvidsrc' >"$unpacked/log" || { cat "$unpacked/log"; fail "no quorvidsrc"; }
    ;;
esac
inside "dpkg -L $names | sort -u >/listed; ldconfig -p | grep -c libquorvid" >/dev/null || fail "the loader knows no libquorvid"

inside "$install g++ cmake make pkg-config" >"$unpacked/log" 2>&1 || { tail -20 "$unpacked/log"; fail "no compilers"; }
inside '/source/scripts/build-hosts.sh /hosts'
say "programs are built and start"
inside 'source /source/scripts/simulator.sh
  quorvid-sim >/ports 2>/dev/null & simulator=$!
  port=$(fleet_port /ports $simulator)
  timeout 30 /hosts/cmake/first_picture 127.0.0.1 "$port" TRUCK-7 0 /picture.ppm; kill $simulator
  head -c 15 /picture.ppm | grep -a "640 480"' || fail "no picture"

inside "apt-get purge -qq $names" >"$unpacked/log" 2>&1 || { tail -20 "$unpacked/log"; fail "can't be removed"; }
left=$(inside 'while read -r file; do [[ -d $file || ! -e $file ]] || echo "$file"; done </listed
  find / -xdev -iname "*quorvid*" -not -path "/source/*" -not -path "/hosts/*" -not -path "/packages/*" -not -path "/proc/*"
  ldconfig -p | grep libquorvid || true')
[[ -z $left ]] || fail "left behind: $left"
say "removed without a trace"

# Here apt takes what it recommends, too, as it does for the reader.
inside 'cd /packages; /source/scripts/page-programs.sh /source/docs/getting-started.md .' "$reader" ||
  fail "the page on the packages does not hold"
say "each program of the page leaves a picture"
