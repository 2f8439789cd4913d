#!/usr/bin/env bash
# usage: ./dev instructions [--update | --profile]
#
# Counts the instructions of the hot paths and compares them with those on record, in
# bench/instructions/record.txt.
#
#   --update   writes the counts as the record
#   --profile  lists the functions that the instructions are in
. scripts/lib/common.sh

case "$*" in
  '' | --update) install_packages valgrind ;;
  --profile) install_packages valgrind python3 ;;
  *) die "'$*'?" ;;
esac
build gcc-release --target instructions
say "Counting instructions"
bench/instructions/check.sh build/gcc-release/bench/instructions bench/instructions/record.txt "$@"
