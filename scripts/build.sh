#!/usr/bin/env bash
# Configures and builds Skimlet into build/ (or $SKIMLET_BUILD_DIR). Extra arguments go to CMake.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SKIMLET_BUILD_DIR:-$root/build}
jobs=${SKIMLET_JOBS:-$(nproc)}
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$build" -j "$jobs"
