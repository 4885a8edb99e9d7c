// The page in a real browser: what people see and do.
import assert from "node:assert/strict";
import { readdirSync, readFileSync, renameSync, writeFileSync } from "node:fs";
import net from "node:net";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, describe, test } from "node:test";
import { checkFigure, DataFolder, goTo, isLong, kHmdList, killServers, kQuality, kSettings, openPage, seen, Server, startBrowser, until } from "./harness.mjs";
import { Client } from "./protocol.mjs";

const build = process.env.ZQ_BUILD;
const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

const kViews = {
  variables: ".grid-row",
  "variables/Settings.CurrentBitrate": ".places li",
  headsets: ".matrix tbody tr",
  files: ".cm-line",
  timeline: ".event",
  machine: ".bars li",
  packet: ".drop",
};

const text = (page, selector) => page.$eval(selector, (element) => element.textContent);
const untilText = (page, selector, pattern, cap) =>
  until(
    () => page.$$eval(selector, (elements) => elements.map((element) => element.textContent).join("\n")).then((all) => pattern.test(all) && all),
    `${selector} shows ${pattern}`,
    cap,
  ).catch(async (error) => {
    throw new Error(`${error.message}; it shows: ${await page.$$eval(selector, (all) => all.map((each) => each.textContent).join(" | "))}`);
  });
const click = (page, name) =>
  until(
    () =>
      page.$$eval(
        "button",
        (buttons, wanted) => {
          const found = buttons.find((button) => button.textContent.trim() === wanted && !button.disabled);
          found?.click();
          return Boolean(found);
        },
        name,
      ),
    `the button ${name} can be pressed`,
  );
// Typed with the keyboard.
const type = async (page, selector, value) => {
  await page.focus(selector);
  await page.keyboard.down("Control");
  await page.keyboard.press("a");
  await page.keyboard.up("Control");
  await page.keyboard.press("Backspace");
  await page.keyboard.type(value);
};
const search = (page, value) => type(page, "input[type=search]", value);
const value = (page, name) => text(page, `[data-name="${name}"]`);
const bitrate = (number) => [/"Settings.CurrentBitrate": [0-9.]+/, `"Settings.CurrentBitrate": ${number}`];

let browser;
before(async () => {
  browser = await startBrowser();
});
after(() => browser.close());
after(killServers);

describe("the page", () => {
  let folder;
  let server;
  let page;
  before(async () => {
    folder = new DataFolder();
    server = await Server.start(build, folder);
    page = await openPage(browser, server);
  });
  after(async () => {
    assert.deepEqual(page.faults, [], "nothing went wrong in the page");
    await server.stop();
    folder.remove();
  });

  test("is painted soon", async () => {
    // The best of three: others use this machine too.
    const times = [];
    for (let i = 0; i < 3; i++) {
      const first = await openPage(browser, server);
      times.push(await first.evaluate(() => performance.getEntriesByName("first-contentful-paint")[0].startTime));
      await first.close();
    }
    checkFigure(Math.min(...times) < 300, `first paint after ${times.map((time) => time.toFixed(0)).join(", ")} ms`);
  });

  test("shows an edit on disk, with the old value", async () => {
    await goTo(page, "variables");
    await search(page, "Settings.CurrentBitrate");
    await untilText(page, "[data-name]", /70/);
    // The page says when the value was drawn; the file says when it was written.
    await page.evaluate(() => {
      window.drawn = [];
      const look = () => window.drawn.push([Date.now(), document.querySelector(".value")?.textContent ?? ""]);
      new MutationObserver(look).observe(document.body, { subtree: true, childList: true, characterData: true });
    });
    const shown = async (number, write) => {
      const written = Date.now();
      write(folder.read(kSettings).replace(...bitrate(number)));
      const [drawn] = await until(
        () => page.evaluate((wanted) => window.drawn.find(([, shown]) => shown.includes(`→ ${wanted}`)), number),
        `${number} is shown`,
      );
      return drawn - written;
    };
    // Rewritten and renamed over in turn.
    let number = 80;
    const times = [];
    for (let i = 0; i < 10; i++) {
      times.push(await shown(++number, (text) => (i % 2 === 0 ? folder.write(kSettings, text) : folder.replace(kSettings, text))));
    }
    assert.match(await value(page, "Settings.CurrentBitrate"), new RegExp(`${number - 1} → ${number}`));
    checkFigure(Math.max(...times) < 100, `edit to page: ${times.sort((a, b) => a - b).join(", ")} ms`);
  });

  test("marks what differs from the default, and puts it back", async () => {
    await goTo(page, "variables/Settings.CurrentBitrate");
    await untilText(page, ".mark", /differs/);
    await click(page, "Put the default back");
    await until(() => /"Settings.CurrentBitrate": 70,/.test(folder.read(kSettings)), "the file holds the default");
    await until(() => page.$$eval(".mark", (marks) => marks.length === 0), "the mark is gone");
  });

  test("filters by text, type, group and difference", async () => {
    await goTo(page, "variables");
    await search(page, "CL. bitrate max");
    await untilText(page, ".found", /^6 found/);
    await search(page, "");
    await page.select(".tools label:nth-of-type(3) select", "bool");
    await until(() => page.$$eval(".grid-row .type", (cells) => cells.length > 5 && cells.every((cell) => cell.textContent === "bool")), "only bools");
    await page.select(".tools label:nth-of-type(3) select", "");
    await page.click(".check input");
    await untilText(page, ".found", /^0 found/);
    folder.edit(kSettings, '"SleepMinutes": 10', '"SleepMinutes": 11');
    await untilText(page, ".found", /^1 found/);
    await page.click(".check input");
  });

  test("saves an edit into the file and shows it in a second tab", async () => {
    const other = await openPage(browser, server, "#variables");
    await search(other, "Settings.PerformanceLevel");
    await goTo(page, "variables/Settings.PerformanceLevel");
    await seen(page, ".editor input:not([readonly])");
    await type(page, ".editor input", "7");
    await page.keyboard.press("Enter");
    await untilText(other, "[data-name]", /1 → 7/);
    assert.match(folder.read(kSettings), /"Settings.PerformanceLevel": 7,/);
    await other.close();
  });

  test("saves a value of the headset in use", async () => {
    await goTo(page, "variables/CL.MERIN5.Sharpening");
    await seen(page, ".editor input:not([readonly])");
    await type(page, ".editor input", "0.5");
    await page.keyboard.press("Enter");
    await until(() => /"Sharpening": 0.5,/.test(folder.read(kSettings)), "the file holds it");
  });

  test("says why a value can't be saved, and refuses a value of another type", async () => {
    await goTo(page, "variables/Settings.Language");
    await untilText(page, ".editor p", /inside a group \(line 9\)/);
    assert.equal(await page.$eval(".editor input", (input) => input.readOnly), true);
    await goTo(page, "variables/CL.MERIN5.3.0.0.0");
    await untilText(page, ".editor p", /ZQ2_HmdList.json, line/);
    await goTo(page, "variables/Settings.CurrentBitrate");
    await seen(page, ".editor input:not([readonly])");
    const before = folder.read(kSettings);
    await type(page, ".editor input", "ninety");
    await page.keyboard.press("Enter");
    await untilText(page, ".editor .fault", /Not saved: .*(ninety|Bitrate)/);
    assert.equal(folder.read(kSettings), before);
  });

  test("shows where a value comes from, and which places lose", async () => {
    const whole = folder.read(kSettings);
    folder.edit(kSettings, '"DHI": 0,', '"DHI": 0,\n    "Twice": 1,\n    "Twice": 2,');
    await goTo(page, "variables/Twice");
    await untilText(page, ".places", /line 5, column 5.*2.*line 4, column 5.*1.*loses: the key comes again/s);
    await page.click(".places .link");
    await seen(page, ".cm-activeLine");
    await until(() => page.$eval(".cm-activeLine", (line) => line.textContent.includes('"Twice": 2')), "the editor shows the line");
    folder.write(kSettings, whole);
  });

  test("works with the keyboard alone", async () => {
    await goTo(page, "variables");
    await seen(page, ".grid");
    await page.keyboard.press("Escape");
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press("/");
    await page.keyboard.down("Control");
    await page.keyboard.press("a");
    await page.keyboard.up("Control");
    await page.keyboard.type("Settings.S");
    await until(() => page.$eval(".grid-row", (row) => row.textContent.includes("Settings.S")), "the list is filtered");
    for (let i = 0; i < 4; i++) {
      await page.keyboard.press("Tab");
    }
    await until(() => page.evaluate(() => document.activeElement.getAttribute("role") === "grid"), "the list has the focus");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    await seen(page, ".panel");
    await until(() => page.evaluate(() => document.activeElement.closest(".panel") !== null), "the panel has the focus");
    await page.keyboard.press("Escape");
    await until(() => page.$$eval(".panel", (panels) => panels.length === 0), "the panel is closed");
  });

  test("compares headsets and presets", async () => {
    await goTo(page, "headsets");
    await untilText(page, ".matrix thead", /MERIN5PRO.*VESPER7/);
    await untilText(page, "td.differs", /10/);
    await click(page, "Requests");
    await untilText(page, ".matrix tbody", /3\.0\.0\.0/);
    await click(page, "Presets");
    await untilText(page, ".matrix thead", /QualityBalancePerformanceUltra/);
    await untilText(page, ".matrix tbody", /RenderWidth/);
  });

  test("checks a file as it is typed, and saves what is accepted", async () => {
    await goTo(page, `files/${kQuality}`);
    await untilText(page, ".verdict", /accepts this/);
    await page.click(".cm-content");
    await page.keyboard.down("Control");
    await page.keyboard.press("End");
    await page.keyboard.up("Control");
    await page.keyboard.press("Enter");
    await untilText(page, ".verdict.bad", /refuses this: 1 error/);
    await untilText(page, ".findings", /line \d+.*line break/);
    await click(page, "Save");
    await untilText(page, ".note", /would refuse it/);
    await click(page, "Fix what can be fixed");
    await untilText(page, ".verdict", /accepts this/);
    await page.keyboard.down("Control");
    await page.keyboard.press("Home");
    await page.keyboard.up("Control");
    await page.evaluate(() => document.querySelector(".cm-content").focus());
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("End");
    await page.keyboard.press("Enter");
    await page.keyboard.type('"Added": 12,');
    await click(page, "What would change");
    await untilText(page, ".preview", /Added.*\(new\).*12/);
    await click(page, "Save");
    await until(() => folder.read(kQuality).includes('"Added": 12,'), "the file is written");
    await untilText(page, ".verdict", /Saved|accepts/);
    await goTo(page, "variables/Added");
    await untilText(page, ".panel h2", /Added/);
  });

  test("shows a file that the module refused, where it is broken, and gives the text back", async () => {
    const whole = folder.read(kHmdList);
    const broken = whole.replace('"SubRequest": 1,', '"SubRequest": one,');
    folder.write(kHmdList, broken);
    await goTo(page, "timeline");
    const line = whole.slice(0, whole.indexOf('"SubRequest": 1,')).split("\n").length;
    await untilText(page, ".event.bad", new RegExp(`ZQ2_HmdList.json, line ${line}.*default in its place`));
    await until(() => folder.read(kHmdList) === readFileSync(join(build, "bin/defaults", kHmdList), "latin1"), "the module has replaced it");
    // The newest first: what is accepted again is the default.
    await untilText(page, ".event", /is accepted again[^]*default in its place/);
    const beside = readdirSync(folder.path).filter((name) => name.startsWith(`${kHmdList}.refused-`));
    assert.equal(beside.length, 1);
    assert.equal(folder.read(beside[0]), broken);
    await goTo(page, `files/${kHmdList}`);
    await untilText(page, ".copies", /memory, .*refused/);
    await click(page, "Compare");
    await seen(page, ".comparison .cm-changedLine");
    await click(page, "Load into the editor");
    await untilText(page, ".verdict.bad", /refuses this/);
    await untilText(page, ".findings", new RegExp(`line ${line}`));
    await click(page, "Discard");
    await untilText(page, ".verdict", /accepts this/);
  });

  test("puts a kept copy back", async () => {
    const present = folder.read(kQuality);
    const kept = present.replace('"PresetVersion": 2', '"PresetVersion": 1');
    writeFileSync(join(folder.makeFolder("kept"), `${kQuality}.20260102T030405.678Z`), kept);
    await goTo(page, `files/${kQuality}`);
    await untilText(page, ".copies", /kept, /);
    await click(page, "Compare");
    await untilText(page, ".comparison .cm-deletedChunk", /"PresetVersion": 2/);
    await click(page, "Put back");
    await until(() => folder.read(kQuality) === kept, "the file is the copy");
    folder.write(kQuality, present);
  });

  test("completes names and values, and explains them, from the schemas", async () => {
    await goTo(page, `files/${kSettings}`);
    await untilText(page, ".verdict", /accepts this/);
    const at = async (pattern, offset) =>
      page.evaluate(
        (wanted, right) => {
          const line = [...document.querySelectorAll(".cm-line")].find((each) => each.textContent.includes(wanted));
          const text = document.createTreeWalker(line, NodeFilter.SHOW_TEXT);
          let left = line.textContent.indexOf(wanted) + right;
          for (let node = text.nextNode(); node; node = text.nextNode()) {
            if (left <= node.length) {
              const range = document.createRange();
              range.setStart(node, left);
              const box = range.getBoundingClientRect();
              return { x: box.left + 1, y: box.top + box.height / 2 };
            }
            left -= node.length;
          }
          return null;
        },
        pattern,
        offset,
      );
    const name = await at('"SleepMinutes"', 4);
    await page.mouse.move(name.x, name.y);
    await untilText(page, ".cm-hint", /Time without a headset/);
    await page.mouse.click(name.x, name.y);
    await page.keyboard.down("Control");
    await page.keyboard.press("Space");
    await page.keyboard.up("Control");
    await untilText(page, ".cm-tooltip-autocomplete", /SleepMinutes/);
    await page.keyboard.press("Escape");
    const flag = await at('"Settings.EnableDashboard": true', 30);
    await page.mouse.click(flag.x, flag.y);
    await page.keyboard.down("Control");
    await page.keyboard.press("Space");
    await page.keyboard.up("Control");
    await untilText(page, ".cm-tooltip-autocomplete", /false/);
    await page.keyboard.press("Escape");
  });

  test("shows the log lines behind a reload, and a chart", async () => {
    await goTo(page, "timeline");
    await seen(page, ".chart canvas");
    for (const more of await page.$$(".event .more")) {
      await more.click();
    }
    await untilText(page, "body", /progress.*File begin/s);
    assert.ok(await page.$(".log .level-2"));
  });

  test("draws the chart in the colours of the theme", async () => {
    await goTo(page, "timeline");
    await seen(page, ".chart canvas");
    const drawn = () => page.$eval(".chart canvas", (canvas) => canvas.toDataURL());
    const light = await drawn();
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "dark" }]);
    await until(async () => (await drawn()) !== light, "the chart is dark");
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "light" }]);
    await until(async () => (await drawn()) === light, "the chart is light again");
  });

  test("shows the survey with a bar for each query", async () => {
    await goTo(page, "machine");
    await untilText(page, ".bars", /Win32_VideoController.*ms/);
    assert.equal((await page.$$(".bar")).length, 3);
  });

  test("takes a packet apart and says where it is damaged", async () => {
    const packet = Buffer.concat([
      Buffer.from([0xbf, 0xfe, 0xeb, 1, 0, 0, 0, 0]),
      Buffer.from([2, 0, 0, 0, 2, 0, 0, 0, 8, 0, 0, 0, 0x41, 0, 42, 0, 0, 0, 0, 0, 0, 0]),
      Buffer.from([1, 0, 0, 0, 99]),
    ]);
    const file = join(folder.parent, "packet.bin");
    writeFileSync(file, packet);
    await goTo(page, "packet");
    const input = await seen(page, "input[type=file]");
    await input.uploadFile(file);
    await untilText(page, ".matrix tbody", /A.*integer.*42/);
    await untilText(page, ".findings", /byte 30/);
  });

  test("has nothing that axe finds fault with, in light and dark", async () => {
    for (const theme of ["light", "dark"]) {
      await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: theme }]);
      for (const [view, selector] of Object.entries(kViews)) {
        await goTo(page, view);
        await seen(page, selector);
        // Through the debugger, which the page's policy does not bind.
        const found = await page.evaluate(`${axe}; axe.run().then((result) => result.violations.map((each) => each.id + ": " + each.nodes.map((node) => node.html).join(" ").slice(0, 300)))`);
        assert.deepEqual(found, [], `${view}, ${theme}`);
      }
    }
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "light" }]);
  });

  test("is readable at 360 px without scrolling sideways", async () => {
    await page.setViewport({ width: 360, height: 740 });
    for (const [view, selector] of Object.entries(kViews)) {
      await goTo(page, view);
      await seen(page, selector);
      const width = await page.evaluate(() => Math.max(document.documentElement.scrollWidth, document.querySelector("main").scrollWidth));
      assert.ok(width <= 360, `${view}: ${width}`);
    }
    await page.setViewport({ width: 1280, height: 800 });
  });

  test("does not shift its layout while values change and a file is refused", async () => {
    await goTo(page, "variables");
    await seen(page, ".grid-row");
    await search(page, "Settings.");
    // What the search and the size of the window have moved is painted before anything counts.
    await page.evaluate(() => new Promise((painted) => requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(painted)))));
    await page.evaluate(() => {
      window.shifts = [];
      new PerformanceObserver((list) => window.shifts.push(...list.getEntries().map((each) => each.value))).observe({ type: "layout-shift" });
    });
    folder.edit(kSettings, ...bitrate(64));
    await untilText(page, '[data-name="Settings.CurrentBitrate"]', /→ 64/);
    renameSync(folder.path, `${folder.path}.away`);
    await untilText(page, ".status.bad", /is missing/);
    renameSync(`${folder.path}.away`, folder.path);
    await seen(page, ".status.good");
    const shift = (await page.evaluate(() => window.shifts)).reduce((sum, each) => sum + each, 0);
    assert.ok(shift < 0.01, `${shift}`);
  });

  test("is shown in many tabs at once", async () => {
    const tabs = [];
    for (let i = 0; i < (isLong ? 50 : 5); i++) {
      tabs.push(await openPage(browser, server, "#variables/Settings.CurrentBitrate"));
    }
    const opened = await Promise.all(tabs.map((tab) => seen(tab, ".editor input")));
    assert.equal(opened.length, tabs.length);
    const edited = Date.now();
    folder.edit(kSettings, ...bitrate(55));
    await Promise.all(tabs.map((tab) => until(() => tab.$eval(".editor input", (input) => input.value === "55"), "the tab shows 55")));
    console.log(`# ${tabs.length} tabs show an edit after ${Date.now() - edited} ms`);
    tabs.forEach((tab) => assert.deepEqual(tab.faults, []));
    await Promise.all(tabs.map((tab) => tab.close()));
  });

  test("keeps up with many changes", async () => {
    await goTo(page, "variables");
    await search(page, "Many.N999");
    const content = (round) => JSON.stringify(Object.fromEntries(Array.from({ length: 1000 }, (_, i) => [`Many.N${i}`, round * 10000 + i])));
    folder.write(kSettings, content(0));
    await untilText(page, '[data-name="Many.N999"]', /999/);
    const lags = [];
    const start = Date.now();
    for (let round = 1; round <= 4; round++) {
      const written = Date.now();
      folder.write(kSettings, content(round));
      await untilText(page, '[data-name="Many.N999"]', new RegExp(`→ ${round * 10000 + 999}`));
      lags.push(Date.now() - written);
    }
    const perSecond = 4000 / ((Date.now() - start) / 1000);
    checkFigure(perSecond > 1000, `${perSecond.toFixed(0)} changes a second; each batch of 1,000 seen after ${lags.join(", ")} ms`);
  });
});

describe("a connection that is lost", () => {
  test("is said, and comes back by itself", async () => {
    const folder = new DataFolder();
    const server = await Server.start(build, folder);
    // Between page and server: changes the port in the request's and the answer's headers, which have equal lengths.
    const sockets = new Set();
    const proxy = net.createServer((near) => {
      const far = net.connect(Number(server.url.port), "127.0.0.1");
      const swap = (from, to) => (data) => Buffer.from(data.toString("latin1").replaceAll(`127.0.0.1:${from}`, `127.0.0.1:${to}`), "latin1");
      near.on("data", (data) => far.write(swap(proxy.address().port, server.url.port)(data)));
      far.on("data", (data) => near.write(swap(server.url.port, proxy.address().port)(data)));
      for (const [a, b] of [[near, far], [far, near]]) {
        a.on("close", () => b.destroy());
        a.on("error", () => b.destroy());
        sockets.add(a);
      }
    });
    await new Promise((resolve) => proxy.listen(0, "127.0.0.1", resolve));
    const { port } = proxy.address();
    assert.equal(String(port).length, server.url.port.length);
    const page = await openPage(browser, { address: server.address.replace(server.url.port, String(port)) });
    proxy.close();
    sockets.forEach((socket) => socket.destroy());
    await untilText(page, ".status.bad", /Connection lost/);
    await new Promise((resolve) => proxy.listen(port, "127.0.0.1", resolve));
    await seen(page, ".status.good");
    await server.stop();
    await page.close();
    proxy.close();
    sockets.forEach((socket) => socket.destroy());
    folder.remove();
  });
});

describe("a folder with a refused file", () => {
  test("is left as it is, shown with the place, and followed live once the file is fixed on the page", async () => {
    const folder = new DataFolder();
    const broken = `${folder.read(kSettings)}\n`;
    folder.write(kSettings, broken);
    const server = await Server.start(build, folder);
    assert.match(server.output, /ZQ2_serverSetting.setting is refused/);
    const page = await openPage(browser, server);
    await untilText(page, ".status.warn", /is refused, line \d+, column \d+: .*line break/);
    assert.equal(folder.read(kSettings), broken);
    await goTo(page, "variables/Settings.CurrentBitrate");
    await untilText(page, ".editor p", /works on a copy/);
    await click(page, "Show");
    await untilText(page, ".verdict.bad", /refuses/);
    await click(page, "Fix what can be fixed");
    await untilText(page, ".verdict", /accepts/);
    await click(page, "Save");
    await untilText(page, ".status.good", /Live on/);
    assert.equal(folder.read(kSettings), broken.trimEnd());
    folder.edit(kSettings, ...bitrate(66));
    await goTo(page, "variables/Settings.CurrentBitrate");
    await until(() => page.$eval(".editor input", (input) => input.value === "66"), "an edit is followed");
    await page.close();
    await server.stop();
    folder.remove();
  });
});

describe("--look", () => {
  test("follows a folder and lets no page write it", async () => {
    const folder = new DataFolder();
    const server = await Server.start(build, folder, ["--look"]);
    const client = await Client.open(server);
    const { result } = await client.ask("file", { file: kSettings });
    assert.match((await client.ask("write", { file: kSettings, text: "{}", hash: result.hash })).reason, /only looks/);
    assert.equal((await client.ask("save", { name: "Settings.CurrentBitrate", value: "5" })).ok, false);
    folder.edit(kSettings, ...bitrate(61));
    await client.wait("reload", (message) => message.changes.some((change) => change.new === 61));
    client.close();
    await server.stop();
    folder.remove();
  });
});

describe("100,000 variables", () => {
  test("are searched and scrolled", async () => {
    const folder = new DataFolder();
    folder.write(kSettings, JSON.stringify(Object.fromEntries(Array.from({ length: 100000 }, (_, i) => [`Wide.Name${i}`, i % 2 === 0]))));
    const server = await Server.start(build, folder);
    const page = await openPage(browser, server);
    await untilText(page, ".count", /100,\d\d\d variables/);
    const frames = await page.evaluate(
      () =>
        new Promise((resolve) => {
          const list = document.querySelector(".grid");
          const times = [];
          let last = performance.now();
          const step = (now) => {
            times.push(now - last);
            last = now;
            list.scrollTop += 20011;
            times.length < 90 ? requestAnimationFrame(step) : resolve(times.slice(1));
          };
          requestAnimationFrame(step);
        }),
    );
    const sorted = [...frames].sort((a, b) => a - b);
    const drawn = (await page.$$(".grid-row")).length;
    assert.ok(drawn < 100, `${drawn} rows`);
    checkFigure(sorted[44] < 34, `frames while scrolling: median ${sorted[44].toFixed(1)} ms, 95 % under ${sorted[84].toFixed(1)} ms, ${drawn} rows drawn`);
    await search(page, "Name99999");
    await untilText(page, ".found", /^1 found/);
    await page.close();
    await server.stop();
    folder.remove();
  });
});
