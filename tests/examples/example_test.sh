#!/usr/bin/env bash
# Runs an example as its README says and compares what it prints with what the README shows.
#
# usage: example_test.sh EXAMPLE WORK_DIR [BUILT_FILE...]
#
# Works on a copy of the directory EXAMPLE in WORK_DIR. The README's first block of sh builds it;
# with BUILT_FILEs, they are taken instead. The second one runs it, with the commands that are among
# these or installed in CMAKE_PREFIX_PATH, and the block of text is what it prints. Addresses, times,
# process ids, source lines and the blanks of Clang's signatures are left out of the comparison.
set -euo pipefail
example=$1 work=$2
shift 2

# shellcheck source=/dev/null
. "$(dirname "${BASH_SOURCE[0]}")/readme_block.sh"

normalised() {
  sed -E -e 's/\r//g' -e 's/ +$//' -e 's/0x[0-9a-f]+/0xN/g' -e 's/pid:[0-9]+/pid:N/g' \
    -e 's/[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [0-9]{4}/TIME/g' \
    -e 's/CT:[A-Z][a-z]{2} [ 0-9][0-9] [0-9]{4} [0-9:]{8}/CT:TIME/g' \
    -e 's/\.cpp(\([0-9]+\)| [0-9]+)/.cpp:N/g' -e 's/ ([*&])/\1/g'
}

rm -rf "$work"
mkdir -p "$(dirname "$work")"
cp -r "$example" "$work"
cd "$work"

if [ $# -gt 0 ]; then
  mkdir build
  cp "$@" build
else
  block sh 1 >build.sh
  [ -s build.sh ]
  sh -eu build.sh >build.log 2>&1 || {
    cat build.log
    exit 1
  }
fi

block sh 2 >run.sh
block text 1 | normalised >expected.txt
[ -s run.sh ]
[ -s expected.txt ]
PATH=$PWD/build:${CMAKE_PREFIX_PATH:+$CMAKE_PREFIX_PATH/bin:}$PATH
sh -eu run.sh >printed.txt
normalised <printed.txt | diff -u expected.txt -
