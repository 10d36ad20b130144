#!/usr/bin/env bash
# Installs every Debian package the project builds, tests or benchmarks with.
# Idempotent and quiet: a machine that has them all does nothing but check.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config ccache git
  libgtest-dev libgmock-dev libbenchmark-dev
  libsqlite3-dev libgsf-1-dev libfast-float-dev nlohmann-json3-dev libcli11-dev libfreexl-dev libminizip-dev libexpat1-dev libxlsxwriter-dev libasio-dev
  clang libclang-rt-14-dev
  libavformat-dev libavcodec-dev libswscale-dev libswresample-dev libavutil-dev
  libplplot-dev plplot-driver-cairo libmuparser-dev pybind11-dev libpython3-dev
  python3 python3-pandas python3-olefile python3-numpy python3-scipy python3-openpyxl python3-xlrd gcovr
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
echo "deps: installing ${missing[*]}" >&2
$SUDO apt-get update -qq >/dev/null
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
