#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the program need.
# Idempotent: prints nothing and touches nothing when everything is present.
set -euo pipefail

PACKAGES=(
  cmake ninja-build g++ make pkg-config ccache
  qt6-base-dev qt6-base-dev-tools libgl-dev
  libsqlite3-dev sqlite3
  libgtest-dev googletest libbenchmark-dev
  clang libclang-rt-14-dev
  xvfb xauth fonts-noto-cjk fonts-tlwg-loma
  qt6-translations-l10n
  qt6-charts-dev libzint-dev zbar-tools fonts-liberation2 poppler-utils
  desktop-file-utils dpkg-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
