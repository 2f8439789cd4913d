#!/usr/bin/env bash
# What is installed by an optimised build, and module libraries beside it, is hardened; the files
# that others build with tell them nothing of it.
#
# usage: hardening_test.sh PREFIX [MODULE...]
set -euo pipefail
prefix=$1
shift

fail() {
  printf 'hardening_test: %s\n' "$*" >&2
  exit 1
}

# imports FILE PATTERN
imports() {
  local symbols
  symbols=$(readelf --dyn-syms -W "$1" | awk '$7 == "UND" { print $8 }')
  grep -qE "^$2(@|$)" <<<"$symbols"
}

# begins_with_endbr FILE SYMBOL: where the processor lets an indirect call arrive.
begins_with_endbr() {
  local code
  code=$(objdump --no-show-raw-insn --disassemble="$2" "$1")
  grep -A 1 "<$2>:\$" <<<"$code" | grep -wc 'endbr\(32\|64\)' >/dev/null
}

# check FILE SYMBOL: the file has this function.
check() {
  local file=$1
  grep -qw GNU_RELRO <<<"$(readelf -lW "$file")" || fail "$file: no RELRO"
  grep -qw BIND_NOW <<<"$(readelf -dW "$file")" || fail "$file: not bound at once"
  imports "$file" __stack_chk_fail || fail "$file: no stack protector"
  if grep -qE 'Machine: .*(X86-64|80386)' <<<"$(readelf -h "$file")"; then
    begins_with_endbr "$file" "$2" || fail "$file: no control-flow protection"
  fi
}

# check_fortified FILE: it calls a function of the C library in the form that checks for overruns.
# Clang knows fewer of these, and of what is installed only the library calls one.
check_fortified() {
  case $1 in
    */libfwbase.so*) ;;
    *) ! grep -q clang <<<"$(readelf -p .comment "$1")" || return 0 ;;
  esac
  imports "$1" '__[a-z]+_chk' || fail "$1: not fortified"
}

checked=0
while read -r file; do
  readelf -h "$file" >/dev/null 2>&1 || continue
  case $file in
    */bin/*) check "$file" main ;;
    */libfwbase.so*) check "$file" _ZN6fwbase7IFWBase8instanceEv ;;
    *) check "$file" create_module ;;
  esac
  check_fortified "$file"
  checked=$((checked + 1))
done < <(find "$prefix" -type f)
[ "$checked" -gt 0 ] || fail "nothing is installed in $prefix"

for module in "$@"; do
  check "$module" create_module
done

! grep -rnE 'stack-protector|_FORTIFY_SOURCE|cf-protection|relro|-z,now' "$prefix" \
  --include='*.cmake' --include='*.pc' || fail "these options reach those who build with the library"
printf '%d installed files and %d modules are hardened\n' "$checked" $#
