#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite, then each fuzz target for a
# short while ($SKIMLET_FUZZ_SECONDS each, default 20; 0 skips them).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
# The real model the tests under tests/realmodel run on (about 1.1 GB, once; cached outside the
# checkout). SKIMLET_NO_REAL_MODEL=1 leaves it out, and those tests then skip.
if [ "${SKIMLET_NO_REAL_MODEL:-0}" != 1 ]; then
  bash "$root/scripts/fetch_model.sh" >/dev/null
fi
# CI builds with warnings as errors: the build stays warning-free.
bash "$root/scripts/build.sh" -DSKIMLET_WERROR=ON
build=${SKIMLET_BUILD_DIR:-$root/build}
ctest --test-dir "$build" --output-on-failure -j "${SKIMLET_JOBS:-$(nproc)}"
seconds=${SKIMLET_FUZZ_SECONDS:-20}
if [ "$seconds" != 0 ]; then bash "$root/scripts/fuzz.sh" "$seconds"; fi
