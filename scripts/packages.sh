#!/usr/bin/env bash
# usage: ./dev packages [--test]
#
# Makes the Debian packages in build/packages, checks them with lintian, and runs the README's
# example from their files; with --test, as root, in a fresh Debian as well.
. scripts/lib/common.sh

made=build/packages/packages
case "${1:-}" in
  '') ;;
  --test) install_packages debootstrap ;;
  *) die "'$1'?" ;;
esac
install_packages "${package_packages[@]}"
build packages
say "Making the packages"
rm -rf "$made"
cpack --config build/packages/CPackConfig.cmake -B "$made"
say "Checking the packages"
lintian --allow-root --fail-on error "$made"/*.deb
tests/packages/packages_test.sh "$made" README.md build/packages/unpacked g++ ""
[ "${1:-}" != --test ] || as_root tests/packages/fresh_root_test.sh "$made" README.md build/packages/fresh
