#!/usr/bin/env bash
# Builds and runs every test, in three steps:
#   1. the debug build and the whole test suite, including the one that drives the server with
#      the official MCP client library and the install and package checks;
#   2. the suite again under the address and UB sanitizers (scripts/sanitize.sh), without the
#      install and package checks, which test packaging rather than code;
#   3. every libFuzzer harness for 60 seconds (fuzz/run.sh 60).
# Every step runs even when an earlier one fails; the last line sums them all up as
# "N passed, M failed" (tests and fuzzers; a step that cannot build counts as one failure), and the
# exit status is 0 only when nothing failed. With --quick, only step 1 without the tests labelled
# "stress": the developers' loop.
set -uo pipefail
cd "$(dirname "$0")/.."
usage() { echo "usage: scripts/test.sh [--quick]   (--quick: the debug suite only, stress tests left out)"; }
quick=0
case "${1:-}" in
    "") ;;
    --quick) quick=1 ;;
    -h | --help) usage; exit 0 ;;
    *) echo "scripts/test.sh: unknown option '$1'" >&2; usage >&2; exit 1 ;;
esac

passed=0 failed=0
started=$SECONDS
mkdir -p build/logs

# count LOG: adds ctest's "... tests failed out of N" from LOG to the sums; a run that never got
# to that line (it could not build, or found no tests) is one failure.
count() {
    local line
    line=$(grep -E '[0-9]+ tests? failed out of [0-9]+' "$1" | tail -n 1)
    if [[ $line =~ ([0-9]+)\ tests?\ failed\ out\ of\ ([0-9]+) ]]; then
        failed=$((failed + BASH_REMATCH[1]))
        passed=$((passed + BASH_REMATCH[2] - BASH_REMATCH[1]))
    else
        failed=$((failed + 1))
    fi
}

echo "== debug suite"
skip=()
((quick)) && skip=(-LE stress)
{ scripts/setup.sh debug && ctest --preset debug -j "$(nproc)" "${skip[@]}"; } 2>&1 | tee build/logs/test-debug.log
count build/logs/test-debug.log

if ((!quick)); then
    echo "== sanitizer suite"
    scripts/sanitize.sh -LE install 2>&1 | tee build/logs/test-sanitize.log
    count build/logs/test-sanitize.log

    echo "== fuzzers"
    fuzz/run.sh 60 2>&1 | tee build/logs/test-fuzz.log
    # One line per harness: "== NAME (60 s)", then "   FOUND A FAULT…" when it failed.
    harnesses=$(grep -c '^== ' build/logs/test-fuzz.log)
    faults=$(grep -c 'FOUND A FAULT' build/logs/test-fuzz.log)
    if ((harnesses == 0)); then
        failed=$((failed + 1))
    else
        passed=$((passed + harnesses - faults))
        failed=$((failed + faults))
    fi
fi

minutes=$(((SECONDS - started) / 60)) seconds=$(((SECONDS - started) % 60))
echo "== done in ${minutes}m${seconds}s"
echo "$passed passed, $failed failed"
((failed == 0))
