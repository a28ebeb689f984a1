#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build=${SKIMLET_BUILD_DIR:-$root/build}
ctest --test-dir "$build" --output-on-failure -j "${SKIMLET_JOBS:-$(nproc)}"
