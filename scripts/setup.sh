#!/usr/bin/env bash
# Installs the Debian 12 packages the project builds, tests and benchmarks with.
# Only missing packages are installed, so a second run costs nothing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  nlohmann-json3-dev liburiparser-dev libcli11-dev
  libpng-dev libturbojpeg0-dev libhowardhinnant-date-dev tzdata
  libcairo2-dev libpango1.0-dev fonts-dejavu-core
  clang-16 libclang-rt-16-dev
  gettext libssl-dev python3 python3-diskcache
  libsdbus-c++-dev dbus-daemon python3-dbusmock
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}" >&2
  sudo=""
  [[ $(id -u) -ne 0 ]] && sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
