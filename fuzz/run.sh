#!/usr/bin/env bash
# Builds the libFuzzer harnesses with the "fuzz" preset and runs each, one after another, for the
# given number of seconds (default 60). Seeds come from the test fixtures, the examples and the
# lists in fuzz/seeds; the growing corpus lives under build/fuzz/corpus and a crashing input
# lands in build/fuzz/artifacts. Exits non-zero when any harness finds a fault.
set -euo pipefail
seconds="${1:-60}"
case "$seconds" in
    -h | --help)
        echo "usage: fuzz/run.sh [SECONDS]   run every harness for SECONDS (default 60), one at a time"
        exit 0
        ;;
    *[!0-9]* | "") echo "fuzz/run.sh: SECONDS must be a whole number, not '$seconds'" >&2; exit 1 ;;
esac
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

out="$root/build/fuzz"
harnesses=(MCPServerStdioFuzzer MarkdownTranscriptParserFuzzer TranscriptImportFuzzer TranscriptImportCSVFuzzer
           TimeScopeParserFuzzer RankedTranscriptSearchFuzzer TranscriptTurnIDFuzzer TranscriptEditorFuzzer)
# Only the harnesses: the executables they do not run need no fuzzing build.
scripts/setup.sh fuzz "${harnesses[@]}"

# seed HARNESS: the bytes on standard input become one seed of the harness, named by content.
seed() {
    local dir="$out/corpus/$1" file
    mkdir -p "$dir"
    file="$(mktemp "$dir/.new-XXXXXX")"
    cat >"$file"
    mv "$file" "$dir/seed-$(sha1sum "$file" | cut -c1-16)"
}
# Lines of a seed list, with "\n" in them read as a line break.
lines() { while IFS= read -r line; do printf '%b\n' "$line"; done <"$1"; }
transcripts=(examples/transcripts/*.md examples/transcripts/*/*.md tests/fixtures/meetings/*.md
             tests/fixtures/meetings/*/*.md tests/fixtures/import/*.md)

for f in "${transcripts[@]}"; do [ -f "$f" ] && seed MarkdownTranscriptParserFuzzer <"$f"; done
for f in tests/fixtures/import/*.csv; do seed TranscriptImportCSVFuzzer <"$f"; done
# The import harness reads its first byte as the choice of file name (see the harness).
for f in tests/fixtures/import/*; do
    case "$f" in *.vtt) k='\x00' ;; *.srt) k='\x01' ;; *.txt) k='\x02' ;; *.md) k='\x03' ;; *.json) k='\x04' ;; *.csv) k='\x05' ;; *) k='\x06' ;; esac
    { printf "$k"; cat "$f"; } | seed TranscriptImportFuzzer
done
# The request lines of each protocol case, as one input stream under a few conditions (the first
# byte, see the harness: blocking or not, whole or in small pieces, a small line limit); the
# harness serves the same fixtures folder as those cases.
for f in tests/protocol/cases/*.test; do
    requests=""
    while IFS= read -r line; do
        line="${line//\{fixtures\}/$root/tests/fixtures/meetings}"
        case "$line" in "> "*) requests+="${line#> }"$'\n' ;; esac
    done <"$f"
    for conditions in '\x00' '\x13' '\x0b' '\xf3'; do
        { printf "$conditions"; printf '%s' "$requests"; } | seed MCPServerStdioFuzzer
    done
done
# Questions under a few calendars and instants: two leading bytes pick them (see the harness).
while IFS= read -r question; do
    for pick in '\x00\x00' '\x09\x01' '\x16\x04' '\x23\x06'; do
        { printf "$pick"; printf '%s' "$question"; } | seed TimeScopeParserFuzzer
    done
done < <(lines fuzz/seeds/questions.txt)
# Arguments and a transcript, NUL-separated (see each harness).
example=examples/transcripts/2026-10-13-pricing-decision-team-tier.md
while IFS= read -r query; do
    { printf '%s\0' "$query"; cat "$example"; } | seed RankedTranscriptSearchFuzzer
done <fuzz/seeds/queries.txt
while IFS= read -r id; do
    { printf '%s\0' "$id"; cat "$example"; } | seed TranscriptTurnIDFuzzer
done <fuzz/seeds/turn-ids.txt
for f in "${transcripts[@]}"; do
    [ -f "$f" ] || continue
    { printf '\0'; cat "$f"; } | seed RankedTranscriptSearchFuzzer
    { printf 't001-000000\0'; cat "$f"; } | seed TranscriptTurnIDFuzzer
done
header=0
while IFS= read -r line; do
    first="${line%%$'\t'*}" second="${line#*$'\t'}"
    for f in "$example" tests/fixtures/meetings/2026-10-15.md tests/fixtures/import/own-transcript.md; do
        { printf "\\x0$((header % 5))%b\0%b\0" "$first" "$second"; cat "$f"; } | seed TranscriptEditorFuzzer
        header=$((header + 1))
    done
done <fuzz/seeds/edit-arguments.txt

mkdir -p "$out/artifacts"
status=0
for harness in "${harnesses[@]}"; do
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
