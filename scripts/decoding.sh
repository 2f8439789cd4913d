#!/usr/bin/env bash
# usage: ./dev decoding
#
# Counts how many Chinese texts, written in GBK, fwlog reads otherwise: the library's messages, and
# the Chinese message catalogues of this system. docs/encodings.md has the figures.
. scripts/lib/common.sh

install_packages python3
build gcc-release --target fwlog
say "Reading Chinese texts in GBK"
mapfile -t sources < <(git ls-files -- 'fwbase/*.cpp' 'utility/*.cpp')
python3 -B scripts/lib/auto_decoding.py build/gcc-release/tools/fwlog/fwlog "${sources[@]}" -- \
  /usr/share/locale/zh_CN/LC_MESSAGES/*.mo
