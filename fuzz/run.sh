#!/usr/bin/env bash
# Builds the libFuzzer harnesses with the "fuzz" preset and runs each, one after another, for the
# given number of seconds (default 60). Seeds come from the test fixtures; the growing corpus
# lives under build/fuzz/corpus and a crashing input lands in build/fuzz/artifacts.
set -euo pipefail
seconds="${1:-60}"
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

# clang and its fuzzer runtime are the only extra packages; install them when missing.
if ! command -v clang++ >/dev/null || ! compgen -G "/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a" >/dev/null; then
    sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get install -y clang libclang-rt-14-dev
fi

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

out="$root/build/fuzz"
seed() { # seed HARNESS FILE...: copy files into the harness's corpus, named by content
    local dir="$out/corpus/$1"; shift
    mkdir -p "$dir"
    for f in "$@"; do [ -f "$f" ] && cp "$f" "$dir/seed-$(sha1sum "$f" | cut -c1-16)"; done
}
seed MarkdownTranscriptParserFuzzer examples/*/*.md examples/*.md tests/fixtures/import/*.md
seed TranscriptImportCSVFuzzer tests/fixtures/import/*.csv
# The import harness reads its first byte as the choice of file name (see the harness).
mkdir -p "$out/corpus/TranscriptImportFuzzer"
for f in tests/fixtures/import/*; do
    case "$f" in *.vtt) k='\x00';; *.srt) k='\x01';; *.txt) k='\x02';; *.md) k='\x03';; *.json) k='\x04';; *.csv) k='\x05';; *) k='\x06';; esac
    { printf "$k"; cat "$f"; } >"$out/corpus/TranscriptImportFuzzer/seed-$(sha1sum "$f" | cut -c1-16)"
done
# Every request line of the protocol cases is a seed of its own.
mkdir -p "$out/corpus/MCPServerHandleFuzzer"
i=0
for f in tests/protocol/cases/*.test; do
    while IFS= read -r line; do
        case "$line" in "> "*) i=$((i + 1)); printf '%s' "${line#> }" >"$out/corpus/MCPServerHandleFuzzer/seed-$i";; esac
    done <"$f"
done

mkdir -p "$out/artifacts"
status=0
for harness in MCPServerHandleFuzzer MarkdownTranscriptParserFuzzer TranscriptImportFuzzer TranscriptImportCSVFuzzer; do
    echo "== $harness ($seconds s)"
    # One process at a time: the machine is shared. 1 MB inputs reach past every small buffer.
    if ! "$out/fuzz/$harness" -max_total_time="$seconds" -max_len=1048576 -rss_limit_mb=2048 -timeout=20 \
        -print_final_stats=1 -artifact_prefix="$out/artifacts/$harness-" "$out/corpus/$harness" 2>"$out/$harness.log"; then
        status=1
        echo "   FOUND A FAULT: see $out/$harness.log and $out/artifacts/"
    fi
    grep -E '^stat::number_of_executed_units|^Done' "$out/$harness.log" || true
done
exit $status
