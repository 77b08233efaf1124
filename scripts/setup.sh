#!/usr/bin/env bash
# Installs the Debian packages the build needs (a no-op when they are present), then
# configures and builds the given preset (default: debug).
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"

# dpkg-dev: the package test reads the executables' library dependencies with dpkg-shlibdeps.
packages=(cmake ninja-build g++ pkg-config libicu-dev nlohmann-json3-dev libssl-dev libgtest-dev
          libbenchmark-dev libcli11-dev dpkg-dev ${EXTRA_PACKAGES:-})
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
    echo "Installing: ${missing[*]}" >&2
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >&2
fi

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
