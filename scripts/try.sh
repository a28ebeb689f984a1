#!/usr/bin/env bash
# Installs what is missing, builds, and opens Skimlet's terminal palette on the demo shop page in
# a fresh Chromium (a visible window when there is a display). Type commands such as
# "click sign in", "fill my email in the login box", "what does shipping cost?"; Ctrl-D ends.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
build=${SKIMLET_BUILD_DIR:-$root/build}
exec "$build/skimlet" browse --visible "$root/demo/shop.html"
