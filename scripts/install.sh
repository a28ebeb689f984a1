#!/usr/bin/env bash
# Builds and installs Skimlet for the current user: the programs in ~/.local/bin, the desktop
# entry and icon under ~/.local/share, and an autostart entry so that the palette is a hotkey
# away after every login. SKIMLET_PREFIX installs elsewhere (e.g. /usr/local, as root);
# SKIMLET_NO_AUTOSTART=1 leaves the session's autostart alone.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SKIMLET_BUILD_DIR:-$root/build}
prefix=${SKIMLET_PREFIX:-$HOME/.local}
bash "$root/scripts/build.sh" -DCMAKE_INSTALL_PREFIX="$prefix"
cmake --install "$build" >/dev/null
if [ ! -x "$prefix/bin/skimlet-desktop" ]; then
  echo "Installed the command-line tool only: GTK 3, ayatana-appindicator or keybinder-3.0 is missing (scripts/setup.sh installs them)."
  exit 0
fi
if [ -z "${SKIMLET_NO_AUTOSTART:-}" ]; then
  autostart=${XDG_CONFIG_HOME:-$HOME/.config}/autostart
  mkdir -p "$autostart"
  cp "$prefix/share/skimlet/skimlet-autostart.desktop" "$autostart/skimlet.desktop"
fi
# Menus notice the new entry sooner with a fresh cache; the tool is optional.
command -v update-desktop-database >/dev/null && update-desktop-database -q "$prefix/share/applications" || true
echo "Installed Skimlet in $prefix (skimlet-desktop, skimlet, the desktop entry and icon)."
