#!/usr/bin/env bash
# Vim, set up as docs/editors.md says, reads the findings of :make.
#
# usage: vim_test.sh VIM FWCHECK EDITORS_PAGE WORK_DIRECTORY
set -euo pipefail
vim=$1 fwcheck=$2 page=$3 work=$4
rm -rf "$work"
mkdir -p "$work"
cd "$work"
PATH=$(dirname "$fwcheck"):$PATH

{
  echo 'filetype on'
  # shellcheck disable=SC2016 # the marks of a block of code
  sed -n '/^```vim$/,/^```$/p' "$page" | grep -v '^```'
} >vimrc
cat >door.xml <<'XML'
<korvid>
  <note/>
  <Process/>
</korvid>
XML

"$vim" -N -i NONE -n -es -u vimrc door.xml \
  -c 'make' \
  -c 'call writefile(map(getqflist(), {_, one -> join([bufname(one.bufnr), one.lnum, one.col, one.type, one.text], "|")}), "found")' \
  -c 'qall!' </dev/null >vim.out 2>&1 || true

diff - found <<'FOUND'
door.xml|2|3|w|nothing looks for the element "note" here [unknown-element]
door.xml|3|3|e|"Process" needs the attribute "name" [missing-attribute]
FOUND
