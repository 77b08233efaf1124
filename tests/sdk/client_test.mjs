// Drives the built server with the official MCP TypeScript SDK client.
// Usage: node client_test.mjs PATH_TO_zelmor-mcp
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";
import assert from "node:assert/strict";
import { mkdtempSync, mkdirSync, writeFileSync, readFileSync, rmSync, existsSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

const server = process.argv[2];
const root = mkdtempSync(join(tmpdir(), "zelmor-sdk-"));
const home = join(root, "home");
const folder = join(root, "transcripts");
mkdirSync(join(home, "Library/Application Support/Zelmor"), { recursive: true });
mkdirSync(folder, { recursive: true });

const meeting = (title, date, who, lines) =>
  ["---", `title: ${title}`, `date: ${date}`, `started_at: ${date}T09:00:00Z`, "duration_min: 30",
   "participants:", ...who.map((n) => `  - ${n}`), "source: Zelmor", "---", "", "## Notes", "", "",
   "## Transcript", "", ...lines.map(([s, t]) => `**${s}:** ${t}\n`)].join("\n");
writeFileSync(join(folder, "pricing.md"), meeting("Pricing review", "2026-10-02", ["Ana Ruiz", "Me"],
  [["Ana Ruiz", "We should raise the starter plan price to twelve dollars."], ["Me", "Agreed, ship it in November."]]));
writeFileSync(join(folder, "hiring.md"), meeting("Hiring sync", "2026-10-09", ["Wenna Okafor", "Me"],
  [["Wenna Okafor", "The backend candidate did well on the pricing exercise."], ["Me", "Let us make an offer."]]));
writeFileSync(join(root, "outside.md"), meeting("Outside", "2026-10-01", ["X"], [["X", "secret"]]));

// One connection with --ask-tool: every tool, as the SDK sends and reads it. (Each protocol
// version's handshake is pinned byte for byte by the protocol case files.)
async function session() {
  const client = new Client({ name: "sdk-test", version: "1.0.0" });
  await client.connect(new StdioClientTransport({
    command: server,
    args: ["--transcripts-folder", folder, "--ask-tool"],
    env: { HOME: home, PATH: process.env.PATH ?? "/usr/bin:/bin" },
    stderr: "pipe",
  }));
  assert.equal(client.getServerVersion()?.name, "zelmor-mcp");

  const { tools } = await client.listTools();
  assert.deepEqual(tools.map((t) => t.name), ["search_meetings", "read_meeting", "list_participants", "ask_meetings"]);
  assert.equal(tools[0].annotations.readOnlyHint, true);
  assert.deepEqual(tools[3].inputSchema.required, ["question"]);

  // The replies' bytes are checked by the protocol case files; here, that the SDK takes them.
  const search = await client.callTool({ name: "search_meetings", arguments: { query: "pricing", sort: "relevance" } });
  assert.deepEqual(JSON.parse(search.content[0].text), search.structuredContent);
  assert.deepEqual(search.structuredContent.meetings.map((m) => m.title), ["Pricing review", "Hiring sync"]);
  const read = await client.callTool({ name: "read_meeting", arguments: { path: search.structuredContent.meetings[0].path } });
  assert.equal(read.content[0].text, readFileSync(join(folder, "pricing.md"), "utf8"));
  const refused = await client.callTool({ name: "read_meeting", arguments: { path: join(root, "outside.md") } });
  assert.equal(refused.isError, true);
  const people = await client.callTool({ name: "list_participants", arguments: {} });
  assert.equal(people.structuredContent.total, 3);
  const asked = await client.callTool({ name: "ask_meetings", arguments: { question: "What did we decide about the starter plan price?" } });
  assert.deepEqual(JSON.parse(asked.content[0].text), asked.structuredContent);
  assert.equal(asked.structuredContent.meetings[0].title, "Pricing review");
  await assert.rejects(client.callTool({ name: "delete_everything", arguments: {} }), /Unknown tool: delete_everything/);
  await client.ping();
  await client.close();
}

let failures = 0;
async function check(name, run) {
  try {
    await run();
    console.log(`ok - ${name}`);
  } catch (error) {
    failures++;
    console.log(`not ok - ${name}: ${error.stack ?? error}`);
  }
}
await check("a session with every tool", session);
await check("activity feed names the SDK client", () => {
  const feed = join(home, "Library/Application Support/Zelmor/agent-activity-log.jsonl");
  assert.ok(existsSync(feed) && readFileSync(feed, "utf8").includes('"client":"sdk-test"'));
});
rmSync(root, { recursive: true, force: true });
console.log(`${2 - failures} passed, ${failures} failed`);
process.exit(failures === 0 ? 0 : 1);
