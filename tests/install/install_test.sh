#!/usr/bin/env bash
# Installs the build into a fresh prefix, moves it, and builds and runs a host there, by CMake and
# by pkg-config.
#
# usage: install_test.sh BUILD_DIR WORK_DIR CXX CXX_FLAGS MODULES
#
# MODULES  1 when module libraries are installed as well, else 0
set -euo pipefail
build=$1 work=$2 cxx=$3 flags=$4 modules=$5
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/moved"
libdir=$(dirname "$(find "$work/moved" -name libfwbase.so)")
export LD_LIBRARY_PATH=$libdir

cmake -G Ninja -S "$here/consumer" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$work/moved" \
  -DMODULES="$modules" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" >"$work/configure.log"
cmake --build "$work/by_cmake" >"$work/build.log"
"$work/by_cmake/consumer"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -r -a pkg_flags <<<"$(pkg-config --cflags --libs fwbase)"
read -r -a cxx_flags <<<"$flags"
"$cxx" -std=c++11 "${cxx_flags[@]}" "$here/consumer/consumer.cpp" -o "$work/by_pkg_config" "${pkg_flags[@]}"
"$work/by_pkg_config"

moduledir=$(pkg-config --variable=moduledir fwbase)
[ "$modules" = 0 ] || [ -f "$moduledir/libfwstd.so" ]
