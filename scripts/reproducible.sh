#!/usr/bin/env bash
# usage: ./dev reproducible
#
# Builds twice, in two directories, and compares the library, the commands and the packages byte by
# byte.
. scripts/lib/common.sh

here=build/reproducible
copies=("$here/one" "$here/elsewhere/two")

# Sources of the working tree, as they are.
copy_sources() {
  mkdir -p "$1"
  git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$1"
}

# In a shell of its own, for the directory.
build_packages() (
  cd "$1"
  cmake --preset packages --log-level=WARNING
  cmake --build --preset packages
  cpack --config build/packages/CPackConfig.cmake -B build/packages/packages
)

install_packages "${package_packages[@]}"
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH CCACHE_DISABLE=1
rm -rf "$here"
for copy in "${copies[@]}"; do
  copy_sources "$copy"
done
for copy in "${copies[@]}"; do
  say "Building in $copy"
  build_packages "$copy"
done
say "Comparing"
for file in libfwbase.so tools/fwrun/{fwrun,libfwstd.so} tools/fwcheck/fwcheck tools/fwmod/fwmod tools/fwlog/fwlog; do
  cmp "${copies[0]}/build/packages/$file" "${copies[1]}/build/packages/$file"
done
for file in "${copies[0]}"/build/packages/packages/*.deb; do
  cmp "$file" "${copies[1]}/build/packages/packages/${file##*/}"
done
echo "identical"
