#!/usr/bin/env bash
# Builds the server and runs a short real session over the bundled example folder,
# printing each request and the server's reply.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh debug >/dev/null
server=build/debug/ZelmorMCP/zelmor-mcp
folder="$PWD/examples/transcripts"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT

requests=(
  '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","clientInfo":{"name":"demo"}}}'
  '{"jsonrpc":"2.0","method":"notifications/initialized"}'
  '{"jsonrpc":"2.0","id":2,"method":"tools/list"}'
)
printf '%s\n' "${requests[@]}" | HOME="$home" "$server" --transcripts-folder "$folder" | {
  i=0
  for request in "${requests[@]}"; do
    echo "→ $request" | cut -c1-160
    case "$request" in *'"id"'*) IFS= read -r reply; echo "← ${reply:0:300}$([ ${#reply} -gt 300 ] && echo ' …')";; esac
    echo
    i=$((i+1))
  done
}
