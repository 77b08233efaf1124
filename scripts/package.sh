#!/usr/bin/env bash
# Builds the Debian package in one command: installs what is missing, builds the "package" preset
# (release, no tests), runs CPack, and prints the path of build/deb/zelmor-mcp_VERSION_ARCH.deb.
# Install it with: sudo apt install ./build/deb/zelmor-mcp_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh package >&2
rm -rf build/deb
cpack -G DEB --config build/package/CPackConfig.cmake -B build/deb >&2
ls "$PWD"/build/deb/zelmor-mcp_*.deb
