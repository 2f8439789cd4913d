#!/usr/bin/env bash
# usage: ./dev setup [SET]
#
# Installs the packages of a set: run, test, fuzz or all. Without one: all.
. scripts/lib/common.sh

setup "${1:-all}"
