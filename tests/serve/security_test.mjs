// Who is let in, and what nobody can make the server do.
import assert from "node:assert/strict";
import { symlinkSync, writeFileSync, mkdirSync, existsSync } from "node:fs";
import net from "node:net";
import { networkInterfaces } from "node:os";
import { join } from "node:path";
import { after, before, describe, test } from "node:test";
import { DataFolder, kHmdList, killServers, kSettings, Server, until } from "./harness.mjs";
import { Client, raw, request } from "./protocol.mjs";

const build = process.env.ZQ_BUILD;

after(killServers);

describe("the server", () => {
  let folder;
  let server;
  before(async () => {
    folder = new DataFolder();
    server = await Server.start(build, folder);
  });
  after(async () => {
    assert.equal(await server.stop(), 0, "Ctrl+C ends it in order");
    folder.remove();
  });

  test("serves the page to its own address", async () => {
    const response = await request(server);
    assert.equal(response.status, 200);
    assert.match(response.body, /<title>/);
  });

  test("allows no inline script and nothing from elsewhere", async () => {
    const policy = (await request(server)).headers["content-security-policy"];
    assert.match(policy, /default-src 'none'/);
    assert.match(policy, /script-src 'self'(;|$)/);
    assert.doesNotMatch(policy, /unsafe/);
    assert.match(policy, /frame-ancestors 'none'/);
  });

  test("gives each page a nonce of its own", async () => {
    const nonce = async () => (await request(server)).body.match(/csp-nonce" content="([0-9a-f]{32})"/)[1];
    assert.notEqual(await nonce(), await nonce());
  });

  test("refuses a wrong token", async () => {
    const wrong = server.url.pathname.replace(/[0-9a-f]\/$/, (end) => (end === "0/" ? "1/" : "0/"));
    assert.equal((await request(server, { path: wrong })).status, 403);
    assert.equal((await request(server, { path: "/" })).status, 403);
    assert.equal((await request(server, { path: "/app.js" })).status, 403);
    await assert.rejects(Client.open(server, { path: `${wrong}live` }), /403/);
  });

  test("refuses a wrong Host", async () => {
    for (const host of ["example.org", `example.org:${server.url.port}`, "127.0.0.1", "127.0.0.1:1"]) {
      assert.equal((await request(server, { headers: { Host: host } })).status, 403, host);
    }
    assert.match(await raw(server, `GET ${server.url.pathname} HTTP/1.1\r\n\r\n`), / 403 /, "no Host");
    await assert.rejects(Client.open(server, { headers: { Host: "example.org" } }), /403/);
  });

  test("refuses a wrong Origin", async () => {
    for (const origin of ["http://example.org", "null", `https://${server.url.host}`, "http://127.0.0.1:1"]) {
      assert.equal((await request(server, { headers: { Origin: origin } })).status, 403, origin);
      await assert.rejects(Client.open(server, { headers: { Origin: origin } }), /403/, origin);
    }
    const own = await Client.open(server, { headers: { Origin: `http://${server.url.host}` } });
    own.close();
  });

  test("answers only GET and HEAD", async () => {
    for (const method of ["POST", "PUT", "DELETE", "OPTIONS"]) {
      assert.equal((await request(server, { method })).status, 405, method);
    }
    assert.equal((await request(server, { method: "HEAD" })).body, "");
  });

  test("refuses a request with a body", async () => {
    // Also one that is still being sent when the answer comes.
    for (const length of [100, 900_000]) {
      assert.equal((await request(server, { method: "POST", body: "x".repeat(length) })).status, 413, `${length} bytes`);
    }
  });

  test("refuses a header that is too long", async () => {
    const line = await raw(server, `GET / HTTP/1.1\r\nX: ${"a".repeat(20000)}\r\n\r\n`);
    assert.match(line, / 431 /);
  });

  test("refuses what is no HTTP", async () => {
    assert.match(await raw(server, "\x16\x03\x01\x02\r\n\r\n"), / 400 /);
  });

  test("closes on a message that is too large", async () => {
    const client = await Client.open(server);
    client.socket.send("x".repeat(17 * 1024 * 1024));
    // The reason, or the end of the connection while the message was still on its way.
    assert.ok([1009, 1006].includes(await client.closed));
    assert.equal((await request(server)).status, 200);
  });

  test("finds no file outside the page by tricks with the path", async () => {
    for (const path of ["../app.js", "..%2fapp.js", "%2e%2e/%2e%2e/windows/win.ini", "..\\..\\x", "C:/windows/win.ini", "app.js/", "app.js%00", "./app.js"]) {
      const { status } = await request(server, { path: server.url.pathname + path });
      assert.ok(status === 404 || status === 403, `${path}: ${status}`);
    }
  });

  test("reads and writes no other file by tricks with a name", async () => {
    const client = await Client.open(server);
    writeFileSync(join(folder.parent, "secret"), "{}");
    for (const file of ["../secret", "..\\secret", `./${kSettings}`, kSettings.toUpperCase(), "", "Z:\\etc\\passwd"]) {
      for (const [what, rest] of [["file", {}], ["write", { text: "{}", hash: "", insist: true }], ["check", { text: "{}" }]]) {
        const answer = await client.ask(what, { file, ...rest });
        assert.equal(answer.ok, false, `${what} ${file}`);
      }
    }
    for (const id of ["rejected/../../secret", "../secret", "rejected/..", "memory/1", ""]) {
      assert.equal((await client.ask("copy", { copy: id })).ok, false, id);
      assert.equal((await client.ask("restore", { copy: id, hash: "", insist: true })).ok, false, id);
    }
    client.close();
  });

  test("follows no link of the name rejected to another folder", async () => {
    const elsewhere = join(folder.parent, "elsewhere");
    mkdirSync(elsewhere);
    writeFileSync(join(elsewhere, `${kSettings}.20260102T030405.678Z`), "{}");
    symlinkSync(elsewhere, join(folder.path, "rejected"));
    const client = await Client.open(server);
    assert.deepEqual((await client.ask("copies")).result.copies, []);
    client.close();
  });

  test("leaves nothing beside the three files after a write", async () => {
    const client = await Client.open(server);
    const { result } = await client.ask("file", { file: kHmdList });
    const answer = await client.ask("write", { file: kHmdList, text: result.text.replace("501", "502"), hash: result.hash });
    assert.equal(answer.ok, true, answer.reason);
    const { readdirSync } = await import("node:fs");
    assert.deepEqual(readdirSync(folder.path).sort(), [kHmdList, "ZQ2_QualityPreset.json", kSettings, "rejected"].sort());
    client.close();
  });

  test("writes nothing over somebody else's edit", async () => {
    const client = await Client.open(server);
    const { result } = await client.ask("file", { file: kSettings });
    folder.edit(kSettings, '"KeepLogDays": 7', '"KeepLogDays": 8');
    const answer = await client.ask("write", { file: kSettings, text: result.text, hash: result.hash });
    assert.equal(answer.ok, false);
    assert.match(answer.reason, /changed by somebody else/);
    assert.match(folder.read(kSettings), /"KeepLogDays": 8/);
    client.close();
  });

  test("answers nonsense with a sentence, and goes on", async () => {
    const client = await Client.open(server);
    for (const text of ["", "{", "[]", "null", "[".repeat(100000), '{"kind":"ask","id":1}', '{"kind":"ask","id":"x","what":7}', '{"id":1e999}']) {
      const before = client.messages.length;
      client.socket.send(text);
      const answer = await until(() => client.messages.slice(before).find((message) => message.kind === "answer"), text.slice(0, 20));
      assert.equal(answer.ok, false);
      assert.ok(answer.reason);
    }
    client.socket.send(Buffer.from([1, 2]));
    client.lastId = 100;
    assert.equal((await client.ask("copies")).ok, true);
    client.close();
  });

  test("listens on 127.0.0.1 and nowhere else", async () => {
    const others = Object.values(networkInterfaces()).flat().map((each) => each.address).filter((address) => address !== "127.0.0.1");
    for (const host of [...others, "::1"]) {
      const isOpen = await new Promise((resolve) => {
        const socket = net.connect({ port: Number(server.url.port), host, timeout: 1000 }, () => resolve(true));
        socket.on("error", () => resolve(false));
        socket.on("timeout", () => resolve(false));
        socket.on("close", () => socket.destroy());
      });
      assert.equal(isOpen, false, host);
    }
  });

  test("is not held up by a reader that never reads, and sends it the whole state when it does", async () => {
    const slow = await Client.open(server);
    await slow.wait("state");
    slow.socket._socket.pause();
    const quick = await Client.open(server);
    await quick.wait("state");
    // More than the queue of one connection and the buffers of two systems hold.
    const big = (value) => JSON.stringify(Object.fromEntries(Array.from({ length: 20000 }, (_, i) => [`Big.N${i}`, value + i])));
    const content = folder.read(kSettings);
    for (let round = 1; round <= 12; round++) {
      folder.write(kSettings, big(round * 1000000));
      await quick.wait("reload", (message) => message.changes.some((change) => change.name === "Big.N7" && change.new === round * 1000000 + 7));
    }
    const seen = slow.messages.length;
    slow.socket._socket.resume();
    const isLast = (message) => message.kind === "state" && message.variables.some((each) => each.name === "Big.N7" && each.value === 12000007);
    await until(() => slow.messages.slice(seen).some(isLast), "a state with the last values");
    folder.write(kSettings, content);
    slow.close();
    quick.close();
  });
});
