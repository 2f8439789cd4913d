#!/usr/bin/env bash
# usage: ./dev format
#
# Lays out all C++ sources with clang-format.
. scripts/lib/common.sh

install_packages "${check_packages[@]}"
sources | xargs clang-format -i
