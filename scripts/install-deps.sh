#!/usr/bin/env bash
# Installs what Kalvo needs to build and test on Debian 12, when it is missing: GTK 4 for the
# window host and the viewer; a virtual X server, an input tool, a screenshot tool and a
# clipboard tool for the viewer's tests.
set -euo pipefail
packages=(build-essential cmake pkg-config git
          libcairo2-dev libpango1.0-dev fonts-liberation
          fonts-wqy-microhei
          libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
          libfftw3-dev libkissfft-dev poppler-utils
          libgtk-4-dev librsvg2-common
          xvfb xdotool imagemagick xclip)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
