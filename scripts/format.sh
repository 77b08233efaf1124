#!/usr/bin/env bash
# Formats every C++ file of the project with clang-format and the repository's .clang-format.
#   usage: scripts/format.sh           rewrite the files that differ
#          scripts/format.sh --check   change nothing; list the files that differ, fail if any
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
command -v clang-format >/dev/null || { echo "format.sh: clang-format is not installed" >&2; exit 1; }
mapfile -t files < <(find platform ZelmorMarkdownKit ZelmorMCP tools tests bench fuzz \
    -path tests/sdk/node_modules -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sort)
if [[ "${1:-}" == "--check" ]]; then
    differ=()
    for file in "${files[@]}"; do
        clang-format --dry-run -Werror "$file" >/dev/null 2>&1 || differ+=("$file")
    done
    if ((${#differ[@]})); then
        printf '%s\n' "${differ[@]}"
        echo "format.sh: ${#differ[@]} of ${#files[@]} files are not formatted (run scripts/format.sh)" >&2
        exit 1
    fi
    echo "${#files[@]} files formatted"
else
    clang-format -i "${files[@]}"
fi
