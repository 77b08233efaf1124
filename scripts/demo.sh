#!/usr/bin/env bash
# Builds the server alone (an optimised build, the "demo" preset) and runs a short real session
# over the bundled example folder: the handshake, the tool list, a search, a read and the
# participant list, each request followed by the server's reply (tool results shown as their
# text). Installing and building show one progress line each; their full output goes to
# build/logs/.
set -euo pipefail
cd "$(dirname "$0")/.."
EXTRA_PACKAGES=jq scripts/setup.sh demo zelmor-mcp
echo >&2
server=build/demo/ZelmorMCP/zelmor-mcp
folder="$PWD/examples/transcripts"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
first_hit="$folder/2026-10-13-pricing-decision-team-tier.md"

requests=(
  '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","clientInfo":{"name":"demo"}}}'
  '{"jsonrpc":"2.0","method":"notifications/initialized"}'
  '{"jsonrpc":"2.0","id":2,"method":"tools/list"}'
  '{"jsonrpc":"2.0","id":3,"method":"tools/call","params":{"name":"search_meetings","arguments":{"query":"seat","sort":"relevance","limit":2}}}'
  '{"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"read_meeting","arguments":{"path":"'"$first_hit"'"}}}'
  '{"jsonrpc":"2.0","id":5,"method":"tools/call","params":{"name":"list_participants"}}'
)
# Replies are long single lines; tool results are easier to read as the text the agent gets.
show_reply() {
  jq -r 'if .result.content then .result.content[0].text
         elif .result.tools then (.result.tools[] | "\(.name): \(.title)")
         elif .result.serverInfo then "\(.result.serverInfo.name) \(.result.serverInfo.version), protocol \(.result.protocolVersion)"
         else tostring end' | head -n 30 | sed 's/^/   /'
}
printf '%s\n' "${requests[@]}" | HOME="$home" "$server" --transcripts-folder "$folder" 2>/dev/null | {
  for request in "${requests[@]}"; do
    echo "→ ${request:0:160}"
    case "$request" in
      *'"id"'*) IFS= read -r reply; echo "←"; printf '%s\n' "$reply" | show_reply;;
    esac
    echo
  done
}
