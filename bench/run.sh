#!/usr/bin/env bash
# Builds the release preset, writes the synthetic corpus under bench/out/ and times the store's
# scans and the server's tool calls against ripgrep on the same corpus, in the same run.
#
# usage: bench/run.sh [--meetings N] [--runs N] [--scan-only]
#   --meetings N   corpus size (default 4000: a heavy user, about 180 MB)
#   --runs N       timed runs per figure, after one warm-up (default 9)
#   --scan-only    only the in-process scan table, not the tool calls over a live server
set -euo pipefail

meetings=4000
runs=9
scan_only=0
while [[ $# -gt 0 ]]; do
    case "$1" in
    --meetings) meetings="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --scan-only) scan_only=1; shift ;;
    -h | --help) sed -n '2,8p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "bench/run.sh: unknown argument $1 (see --help)" >&2; exit 1 ;;
    esac
done

root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

if ! command -v rg >/dev/null 2>&1; then
    echo "Installing ripgrep, the yardstick of every figure" >&2
    if [[ $(id -u) -eq 0 ]]; then sudo=""; else sudo="sudo"; fi
    $sudo apt-get update -qq && DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq ripgrep >/dev/null
fi

cmake --preset release >/dev/null
cmake --build --preset release --target zelmor-mcp make_corpus bench_driver

corpus="bench/out/corpus-$meetings"
if [[ ! -f "$corpus/.complete" ]]; then
    rm -rf "$corpus"
    build/release/bench/corpus/make_corpus --meetings "$meetings" "$corpus"
    touch "$corpus/.complete" # hidden, so neither the store nor the walk sees it
fi
# Warm the page cache so that both sides read from memory.
rg -i -F -l zeppelin "$corpus" >/dev/null || true

echo "Corpus: $meetings meetings, $(du -sh "$corpus/" | cut -f1), $(nproc) cores"
echo
build/release/bench/driver/bench_driver --scan "$corpus" --runs "$runs"
if [[ $scan_only -eq 0 ]]; then
    echo
    build/release/bench/driver/bench_driver build/release/ZelmorMCP/zelmor-mcp "$corpus" --runs "$runs"
fi
