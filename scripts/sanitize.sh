#!/usr/bin/env bash
# Configures, builds and runs the whole test suite with AddressSanitizer and
# UndefinedBehaviorSanitizer (the "sanitize" preset). Any report fails the run. Arguments go to
# ctest (scripts/test.sh passes "-LE install" to leave out the packaging checks).
set -euo pipefail
cd "$(dirname "$0")/.."
# Leaks count too; the sanitize preset already makes every UB report fatal.
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}"
scripts/setup.sh sanitize
ctest --preset sanitize -j "$(nproc)" "$@"
