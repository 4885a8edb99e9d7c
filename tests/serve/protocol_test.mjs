// "watch --json" and "serve" send the same messages of the same events.
import assert from "node:assert/strict";
import { unlinkSync } from "node:fs";
import { after, test } from "node:test";
import { DataFolder, kHmdList, killServers, kQuality, kSettings, Server, startTool, until } from "./harness.mjs";
import { Client } from "./protocol.mjs";

const build = process.env.ZQ_BUILD;
after(killServers);

class Watch {
  static async start(folder) {
    const watch = new Watch();
    let text = "";
    const words = ["watch", "--json", "--data", `Z:${folder.path.replaceAll("/", "\\")}`];
    watch.process = startTool(build, words, (data) => (text += data), (data) => console.error(String(data)));
    watch.ended = new Promise((resolve) => watch.process.on("exit", resolve));
    watch.lines = () => text.split("\n").slice(0, -1);
    Object.defineProperty(watch, "messages", { get: () => watch.lines().map((line) => JSON.parse(line)) });
    // It watches from here on.
    await until(() => watch.messages.find((message) => /CreateFile to programdata folder/.test(message.text)), "watch has begun");
    return watch;
  }
  async stop() {
    this.process.kill("SIGINT");
    return this.ended;
  }
}

// What depends on the moment or the sender only: times, and members that one sender adds.
function common({ time, milliseconds, copy, source, ...message }) {
  return message;
}

test("watch --json prints what the dashboard sends", async () => {
  const folder = new DataFolder();
  // On a copy, as "watch" always is.
  const server = await Server.start(build, folder, ["--look"]);
  const client = await Client.open(server);
  const state = await client.wait("state");
  const watch = await Watch.start(folder);
  const sent = [client, watch];
  const last = (sender, kind, fits) => sender.messages.findLast((message) => message.kind === kind && fits(message));
  const both = async (kind, fits, what) => {
    const [page, line] = await Promise.all(sent.map((sender) => until(() => last(sender, kind, fits), what)));
    assert.deepEqual(common(line), common(page), what);
    for (const message of [page, line]) {
      assert.deepEqual(Object.keys(message).slice(0, 3), ["version", "kind", "time"], what);
      assert.match(message.time, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$/);
    }
    return page;
  };

  const printed = watch.messages.find((message) => message.kind === "state");
  assert.deepEqual(printed.files, state.files);
  assert.deepEqual(printed.variables.filter(({ name }) => !name.startsWith("Machine")), state.variables.filter(({ name }) => !name.startsWith("Machine")));
  for (const member of ["version", "tool", "folder", "mode"]) {
    assert.equal(printed[member], state[member], member);
  }

  folder.edit(kSettings, /"Settings.CurrentBitrate": 70/, '"Settings.CurrentBitrate": 9007199254740993, "Added": [1.5, "\\u0001"]');
  const reload = await both("reload", ({ changes }) => changes.some(({ name }) => name === "Settings.CurrentBitrate"), "an edit");
  assert.deepEqual(reload.changes.find(({ name, types }) => name === "Settings.CurrentBitrate" && types[0] === "integer").newText, "9007199254740993");

  const accepted = folder.read(kHmdList);
  folder.write(kHmdList, accepted.replace('"SubRequest": 1,', '"SubRequest": one,'));
  const refusal = await both("refusal", ({ file }) => file === kHmdList, "a refused file");
  assert.equal(refusal.outcome, "kept");
  folder.write(kHmdList, accepted);
  await both("accept", ({ file }) => file === kHmdList, "an accepted file");

  unlinkSync(folder.file(kQuality));
  await both("refusal", ({ outcome }) => outcome === "missing", "a missing file");

  const log = watch.messages.findLast((message) => message.kind === "log" && message.text === "Private settings file changed.");
  assert.deepEqual(common(log), common(last(client, "log", ({ text }) => text === log.text)));

  assert.equal(await watch.stop(), 0);
  assert.equal(watch.messages.at(-1).kind, "end");
  await server.stop();
  assert.equal(client.messages.at(-1).kind, "end");
  folder.remove();
});
