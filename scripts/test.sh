#!/usr/bin/env bash
# Builds and runs every test, in order, stopping at the first step that fails:
#   1. the debug build and the whole test suite, including the one that drives the server with
#      the official MCP client library (Node.js is installed from Debian when the machine has none);
#   2. the whole suite again under the address and UB sanitizers (scripts/sanitize.sh);
#   3. every libFuzzer harness for 60 seconds (fuzz/run.sh 60).
# With --quick, only step 1: the developers' loop.
set -euo pipefail
cd "$(dirname "$0")/.."
usage() { echo "usage: scripts/test.sh [--quick]   (--quick: the debug suite only)"; }
quick=0
case "${1:-}" in
    "") ;;
    --quick) quick=1 ;;
    -h | --help) usage; exit 0 ;;
    *) echo "scripts/test.sh: unknown option '$1'" >&2; usage >&2; exit 1 ;;
esac

extra=""
command -v node >/dev/null && command -v npm >/dev/null || extra="nodejs npm"
EXTRA_PACKAGES="$extra" scripts/setup.sh debug
ctest --preset debug -j "$(nproc)" --output-on-failure
((quick)) && exit 0

echo "== sanitizer suite"
scripts/sanitize.sh
echo "== fuzzers"
fuzz/run.sh 60
