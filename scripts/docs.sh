#!/usr/bin/env bash
# usage: ./dev docs
#
# Makes the site of the guides and the reference in build/docs/html, from the pages as they are in
# the working tree, and checks it. Doxygen takes its warnings for errors.
. scripts/lib/common.sh

install_packages "${docs_packages[@]}"
mapfile -t pages < <(git ls-files --cached --others --exclude-standard -- '*.md')
rm -rf build/docs
mkdir -p build/docs
say "Making the site"
doxygen - < <(
  cat docs/Doxyfile
  sed -n 's/^project(fwbase VERSION \([0-9.]*\).*/PROJECT_NUMBER = \1/p' CMakeLists.txt
)
say "Checking the site"
python3 -B docs/site/check_site.py build/docs/html "${pages[@]}"
echo "it begins with build/docs/html/index.html"
