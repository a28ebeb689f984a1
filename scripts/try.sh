#!/usr/bin/env bash
# Installs what is missing, builds, and opens Skimlet on the demo shop page in a fresh Chromium.
# On a desktop (a display is set) it installs the desktop application for this user and starts
# it, with the palette open; the hotkey (Alt+Space unless chosen otherwise in Settings) brings
# it back. Without a display it opens the terminal palette instead. Commands to try: "click sign
# in", "fill my email in the login box", "what does shipping cost?".
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
build=${SKIMLET_BUILD_DIR:-$root/build}
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  bash "$root/scripts/install.sh"
  prefix=${SKIMLET_PREFIX:-$HOME/.local}
  if [ -x "$prefix/bin/skimlet-desktop" ]; then
    echo "Starting Skimlet on the demo shop page; the palette is open. Escape twice closes it, the hotkey brings it back."
    exec "$prefix/bin/skimlet-desktop" --url "$root/demo/shop.html" --show
  fi
else
  bash "$root/scripts/build.sh"
fi
exec "$build/skimlet" browse --visible "$root/demo/shop.html"
