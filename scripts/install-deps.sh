#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the head-unit simulation need, when
# any is missing. Safe to run again: it does nothing when everything is there.
set -euo pipefail

PACKAGES=(
  cmake ninja-build g++ pkg-config
  android-libutils-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  nlohmann-json3-dev
  perl diffutils
  libcpp-httplib-dev chromium chromium-driver python3-selenium fonts-droid-fallback
  clang libclang-rt-14-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
