#!/usr/bin/env bash
# Installs the Debian packages that building, testing and reporting need, when they are missing.
# Usage: scripts/install_dependencies.sh [--ci | --install | --package]
#   --ci       adds clang, sanitizers, formatter, clang-tidy, locales, a browser and what packages need
#   --install  what is needed to build what is installed, no tests
#   --package  the same, and the tools that make Debian packages
set -euo pipefail

build=(g++ cmake ninja-build pkg-config libjsoncpp-dev liberfa-dev zlib1g-dev libarchive-dev libdeflate-dev libcli11-dev libcurl4-openssl-dev libnats-dev pybind11-dev python3-dev)
tests=(ccache libgtest-dev libgmock-dev libbenchmark-dev gnuplot-nox python3-numpy nats-server)
package=(dpkg-dev file)
case "${1:-}" in
  --install) packages=("${build[@]}") ;;
  --package) packages=("${build[@]}" "${package[@]}") ;;
  --ci) packages=("${build[@]}" "${tests[@]}" "${package[@]}" clang libclang-rt-dev clang-format clang-tidy locales doxygen chromium chromium-driver) ;;
  *) packages=("${build[@]}" "${tests[@]}") ;;
esac

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi

if ! command -v apt-get >/dev/null; then
  echo "These packages are needed and apt-get is not here to install them: ${missing[*]}" >&2
  exit 1
fi
as_root=()
if [[ $EUID -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "Run as root, or install by hand: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
