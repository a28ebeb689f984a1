#!/usr/bin/env bash
# Installs what is missing, builds, and runs Skimlet on an example command.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build=${SKIMLET_BUILD_DIR:-$root/build}
"$build/skimlet" parse --json "click the second sign in button"
