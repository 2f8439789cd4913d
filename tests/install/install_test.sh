#!/usr/bin/env bash
# Installs the build into a fresh prefix, moves it, and builds and runs a host and its module there,
# by CMake and by pkg-config. They get nothing else: no header of ACE can be included, and none of
# this project that is not installed.
#
# usage: install_test.sh BUILD_DIR SOURCE_DIR WORK_DIR CXX CXX_FLAGS MODULES
#
# MODULES  1 when module libraries are installed as well, else 0
set -euo pipefail
build=$1 source=$2 work=$3 cxx=$4 flags=$5 modules=$6
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
unset CMAKE_PREFIX_PATH CPATH CPLUS_INCLUDE_PATH LIBRARY_PATH

fail() {
  printf 'install_test: %s\n' "$*" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/moved"
! grep -rlF -e "$work/first" "$work/moved" || fail "these know the prefix that they were installed to"
libdir=$(dirname "$(find "$work/moved" -name libfwbase.so)")
export LD_LIBRARY_PATH=$libdir

# A directory before the system's, in which each header of ACE is an error.
ace=$(pkg-config --variable=includedir ACE)
(cd "$ace" && find ace -type d) | sed "s|^|$work/no_ace/|" | xargs mkdir -p
while read -r header; do
  echo '#error "ACE is hidden"' >"$work/no_ace/$header"
done < <(cd "$ace" && find ace -name '*.h')
hidden=(-I "$work/no_ace")
read -r -a cxx_flags <<<"$flags"
! "$cxx" "${cxx_flags[@]}" "${hidden[@]}" -fsyntax-only -x c++ - <<<'#include <ace/OS.h>' 2>"$work/hidden.log" ||
  fail "ACE is not hidden"
grep -q "ACE is hidden" "$work/hidden.log"

cp -r "$here/consumer" "$work/consumer"
cmake -G Ninja -S "$work/consumer" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$work/moved" \
  -DMODULES="$modules" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags ${hidden[*]}" \
  >"$work/configure.log"
cmake --build "$work/by_cmake" >"$work/build.log"
"$work/by_cmake/consumer" "$work/by_cmake/libcounter.so"
ninja -C "$work/by_cmake" -t deps >"$work/deps"
grep -qF "$work/moved/" "$work/deps"
! grep -F -e "$source/" "$work/deps" | grep -vF -e "$work/" || fail "these come from the source tree"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -r -a compile <<<"$(pkg-config --cflags fwbase)"
read -r -a link <<<"$(pkg-config --libs fwbase)"
compile=("$cxx" -std=c++11 "${cxx_flags[@]}" "${hidden[@]}" "${compile[@]}")
mkdir "$work/by_pkg_config"
cd "$work/by_pkg_config"
"${compile[@]}" ../consumer/consumer.cpp -o consumer "${link[@]}"
"${compile[@]}" -fPIC -shared ../consumer/counter.cpp -o libcounter.so "${link[@]}"
./consumer ./libcounter.so

moduledir=$(pkg-config --variable=moduledir fwbase)
[ "$modules" = 0 ] || [ -f "$moduledir/libfwstd.so" ] || fail "no libfwstd.so in $moduledir"
