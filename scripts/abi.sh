#!/usr/bin/env bash
# usage: ./dev abi [--update]
#
# Compares the library's binary interface with the one kept in tests/abi; with --update, keeps the
# one that it has now. Types, operations and symbols are those of the build's debug information.
. scripts/lib/common.sh

kept=tests/abi/libfwbase.abi library=build/gcc-debug/libfwbase.so
suppressions=tests/abi/libfwbase.suppr

keep_interface() {
  say "Keeping the binary interface in tests/abi"
  abidw --exported-interfaces-only --suppressions "$suppressions" --type-id-style hash \
    --no-architecture --no-elf-needed --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-parameter-names "$library" | sed "s|path='$PWD/|path='|" >"$kept"
  nm -D --defined-only -C "$library" | sed -E 's/^[0-9a-f]+ . //' | LC_ALL=C sort -u \
    >tests/abi/symbols.txt
}

compare_interface() {
  say "Comparing the binary interface with the one kept in tests/abi"
  abidiff --exported-interfaces-only --suppressions "$suppressions" --no-architecture \
    "$kept" "$library" ||
    die "it has changed. When that is wanted: ./dev abi --update, and CHANGELOG.md"
  echo "no change"
}

case "${1:-}" in
  '') action=compare_interface ;;
  --update) action=keep_interface ;;
  *) die "'$1'?" ;;
esac
install_packages "${abi_packages[@]}"
build gcc-debug --target fwbase
"$action"
