#!/usr/bin/env bash
# Builds qa_bench and the server (the release preset) and runs the questions and meetings of the
# shared qa-bench folder (default: ../shared/qa-bench beside the clone) through the live server
# and in-process, printing the table that bench/RESULTS.md records.
#   usage: bench/qa/run.sh [QA_BENCH_FOLDER]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
folder="${1:-$root/../shared/qa-bench}"
[ -f "$folder/questions.jsonl" ] || { echo "bench/qa/run.sh: no questions.jsonl in $folder" >&2; exit 1; }
cd "$root"
scripts/setup.sh release qa_bench zelmor-mcp
build/release/bench/qa_bench "$folder/meetings" "$folder/questions.jsonl" build/release/ZelmorMCP/zelmor-mcp
