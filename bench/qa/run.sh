#!/usr/bin/env bash
# Builds qa_bench (the release preset) and runs it over the questions and meetings of the shared
# qa-bench folder (default: ../shared/qa-bench beside the clone), printing the table that
# bench/RESULTS.md records.
#   usage: bench/qa/run.sh [QA_BENCH_FOLDER]
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
folder="${1:-$root/../shared/qa-bench}"
[ -f "$folder/questions.jsonl" ] || { echo "bench/qa/run.sh: no questions.jsonl in $folder" >&2; exit 1; }
cd "$root"
EXTRA_PACKAGES="" scripts/setup.sh release qa_bench
build/release/bench/qa_bench "$folder/meetings" "$folder/questions.jsonl"
