#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
# CI builds with warnings as errors: the build stays warning-free.
bash "$root/scripts/build.sh" -DSKIMLET_WERROR=ON
build=${SKIMLET_BUILD_DIR:-$root/build}
ctest --test-dir "$build" --output-on-failure -j "${SKIMLET_JOBS:-$(nproc)}"
