#!/usr/bin/env bash
# Builds and runs every test, including the one that drives the server with the official MCP
# client library (Node.js, installed from Debian when the machine has none).
set -euo pipefail
cd "$(dirname "$0")/.."
extra=""
command -v node >/dev/null && command -v npm >/dev/null || extra="nodejs npm"
EXTRA_PACKAGES="$extra" scripts/setup.sh debug
ctest --preset debug -j "$(nproc)" --output-on-failure
