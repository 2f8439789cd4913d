#!/usr/bin/env bash
# Builds the README's host with pkg-config and runs it, runs a script with fwrun and checks the
# module library that comes with it: with nothing but the packages, which are installed or whose
# files are below a directory.
#
# usage: readme_example.sh README WORK_DIR CXX CXX_FLAGS [ROOT]
set -euo pipefail
readme=$(realpath "$1") work=$2 cxx=$3 flags=$4 root=${5:-}

# block LANGUAGE: the first one of the README.
block() {
  awk -v fence="\`\`\`$1" '
    inside && /^```$/ { exit }
    inside { print }
    $0 == fence { inside = 1 }
  ' "$readme"
}

mkdir -p "$work"
cd "$work"
if [ -n "$root" ]; then
  directory=$(dirname "$(find "$root" -name fwbase.pc)")
  export PKG_CONFIG_PATH=$directory LD_LIBRARY_PATH=${directory%/*}
fi
block cpp >host.cpp
block xml >greet.xml
read -r -a cxx_flags <<<"$flags"
read -r -a package_flags <<<"$(pkg-config --cflags --libs fwbase)"
"$cxx" "${cxx_flags[@]}" -std=c++11 host.cpp -o host "${package_flags[@]}"
[ "$(./host)" = "Hello, world" ]
[ "$("$root/usr/bin/fwrun" --mock greet greet.xml)" = 'greet(who="world", times=1)' ]
"$root/usr/bin/fwmod" fwstd
