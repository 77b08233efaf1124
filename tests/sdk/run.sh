#!/usr/bin/env bash
# Installs the pinned MCP SDK into tests/sdk/node_modules (ignored by git) and runs the client test.
set -euo pipefail
cd "$(dirname "$0")"
server="$1"
if [ ! -d node_modules/@modelcontextprotocol/sdk ]; then
    npm install --no-audit --no-fund --loglevel=error >/dev/null
fi
exec node client_test.mjs "$server"
