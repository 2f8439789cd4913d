#!/usr/bin/env bash
# usage: ./dev mutants [FOLDER|NUMBER|NUMBER-NUMBER...]
#        ./dev mutants --draw SEED [FOLDER...]
#
# Makes mistakes in the sources, one line each, and says which of them the tests notice: all
# mistakes of tests/mutants/, or those of some folders (./dev mutants utility) or numbers (./dev
# mutants 1-20 201). Each is made in a copy of the tree in build/mutants/, is built, and the tests of
# its folder are run. Fails when a mistake survives for which the table has no reason.
#
# --draw chooses 150 lines anew, but none in the folders given, and writes tests/mutants/drawn.txt.
. scripts/lib/common.sh

draw() {
  local seed=${1:?'--draw needs a SEED'}
  shift
  configure gcc-debug
  python3 scripts/lib/mutants.py draw "$seed" 150 "$@" >build/drawn.txt
  mv build/drawn.txt tests/mutants/drawn.txt
}

setup_for gcc-debug
install_packages python3 git
if [ "${1:-}" = --draw ]; then
  shift
  draw "$@"
  exit
fi
tree=build/mutants
say "Copying the tree to $tree"
python3 scripts/lib/mutants.py copy "$tree"
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
  unset CCACHE_BASEDIR # locations in records would be others, and tests compare them
fi
(cd "$tree" && cmake --preset gcc-debug --log-level=WARNING -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF \
  -DFWBASE_BUILD_FUZZ=OFF -DFWBASE_BUILD_BENCH=OFF)
say "Making mistakes"
python3 scripts/lib/mutants.py run "$tree" "$@"
