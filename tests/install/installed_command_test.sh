#!/usr/bin/env bash
# Installs the build into a fresh prefix, moves it, and runs the installed commands there, which have
# to find their library and the module library by themselves.
#
# usage: installed_command_test.sh BUILD_DIR WORK_DIR
set -euo pipefail
build=$1 work=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

rm -rf "$work"
mkdir -p "$work"
work=$(realpath "$work")
cmake --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/moved"

unset LD_LIBRARY_PATH
cd /
"$(find "$work/moved" -path '*/bin/fwrun')" --env a=40 "$here/sum.xml" >"$work/out"
diff - "$work/out" <<<"40 and 2 make 42"

# The module stands where modules are installed, not beside the command.
[ "$(find "$work/moved" -name libfwstd.so | grep -c '/fwbase-1/libfwstd\.so$')" = 1 ]
# Its check finds it by its name; a module with script functions cannot take them back.
fwmod=$(find "$work/moved" -path '*/bin/fwmod')
"$fwmod" fwstd >"$work/check"
status=0
"$fwmod" --exercise fwstd >"$work/exercise" || status=$?
[ "$status" = 3 ]
grep -q 'script function "add"' "$work/exercise"
# It finds the library without the help of the command's own copy.
module=$(find "$work/moved" -name libfwstd.so)
libraries=$(ldd "$module")
grep -q "libfwbase\.so\.1 => $work/moved/" <<<"$libraries"
