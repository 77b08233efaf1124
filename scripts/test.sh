#!/usr/bin/env bash
# Builds and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh debug
ctest --preset debug -j "$(nproc)"
