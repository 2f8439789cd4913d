#!/usr/bin/env bash
# Makes a fresh Debian root with debootstrap, installs the packages in it by apt, runs the README's
# example there, and removes the packages again. Needs root and the network.
#
# usage: fresh_root_test.sh DIRECTORY README WORK_DIR
#
# DIRECTORY  the packages
set -euo pipefail
packages=$1 readme=$2 work=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$work/root

# As this machine gets its own packages.
release=$(sed -n "s/^VERSION_CODENAME=//p" /etc/os-release)
mirror=$(apt-get indextargets --format "\$(CODENAME) \$(REPO_URI)" 'Created-By: Packages' |
  awk -v release="$release" '$1 == release { print $2; exit }')

rm -rf --one-file-system "$work"
mkdir -p "$work"
debootstrap --variant=minbase "$release" "$root" "$mirror" >"$work/debootstrap.log"
cp /etc/resolv.conf "$root/etc/"
cp -r /etc/apt/apt.conf.d/. "$root/etc/apt/apt.conf.d/"
mount -t proc proc "$root/proc"
trap 'umount "$root/proc"' EXIT
mkdir "$root/fwbase"
cp "$packages"/*.deb "$readme" "$here/readme_example.sh" "$root/fwbase/"

in_root() {
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}

in_root sh -c 'apt-get update -q && apt-get install -q -y --no-install-recommends \
  g++ pkg-config /fwbase/*.deb' >"$work/install.log"
in_root /fwbase/readme_example.sh /fwbase/README.md /fwbase/example g++ ""
in_root sh -c 'dpkg --purge fwbase-tools libfwbase-dev libfwbase1' >"$work/purge.log"
! find "$root/usr" -name '*fwbase*' | grep . || exit 1
echo "installed, built and ran the README's example, removed: $release"
