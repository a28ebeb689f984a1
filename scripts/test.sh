#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
# The real model the tests under tests/realmodel run on (about 1.1 GB, once; cached outside the
# checkout). SKIMLET_NO_REAL_MODEL=1 leaves it out, and those tests then skip.
if [ "${SKIMLET_NO_REAL_MODEL:-0}" != 1 ]; then
  bash "$root/scripts/fetch_model.sh" >/dev/null
fi
bash "$root/scripts/build.sh"
build=${SKIMLET_BUILD_DIR:-$root/build}
ctest --test-dir "$build" --output-on-failure -j "${SKIMLET_JOBS:-$(nproc)}"
