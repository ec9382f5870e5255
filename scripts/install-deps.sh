#!/usr/bin/env bash
# Installs what Kalvo needs to build and test on Debian 12, when it is missing.
set -euo pipefail
packages=(build-essential cmake pkg-config git
          libcairo2-dev libpango1.0-dev fonts-liberation
          fonts-wqy-microhei
          libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
          libfftw3-dev libkissfft-dev poppler-utils)
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
