#!/usr/bin/env bash
# usage: ./dev run
#
# Installs what is needed, builds, and runs the example script.
. scripts/lib/common.sh

build tools
say "Running examples/health; its files are in build/health"
examples/health/run.sh build/tools/tools/fwrun/fwrun build/tools/tools/fwlog/fwlog build/health
