// The pictures of the documents: node screenshots.mjs BUILD_FOLDER OUTPUT_FOLDER
import { mkdirSync, statSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { DataFolder, goTo, kHmdList, kSettings, openPage, seen, Server, startBrowser, until } from "./harness.mjs";

const [build, output] = process.argv.slice(2);
const kMostBytes = 200 * 1024;
mkdirSync(output, { recursive: true });

const folder = new DataFolder();
const server = await Server.start(build, folder);
const browser = await startBrowser();
const page = await openPage(browser, server);

const untilShown = (selector, pattern) =>
  until(() => page.$$eval(selector, (all) => all.map((each) => each.textContent).join("\n")).then((text) => pattern.test(text)), `${selector} shows ${pattern}`);
const settled = () => page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));

async function shoot(name) {
  for (const theme of ["light", "dark"]) {
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: theme }]);
    await settled();
    const path = join(output, `${name}-${theme}.png`);
    await page.screenshot({ path });
    if (statSync(path).size > kMostBytes) {
      throw new Error(`${path} is larger than 200 KB`);
    }
  }
}

const whole = folder.read(kHmdList);
folder.edit(kSettings, '"Settings.CurrentBitrate": 70', '"Settings.CurrentBitrate": 90');
await untilShown(".status", /Live/);
await goTo(page, "timeline");
await untilShown(".event", /70 → 90/);
folder.edit(kSettings, '"Settings.PerformanceLevel": 1', '"Settings.PerformanceLevel": 3');
await untilShown(".event", /1 → 3/);
folder.write(kHmdList, whole.replace('"SubRequest": 1,', '"SubRequest": one,'));
await untilShown(".event.bad", /default in its place/);
folder.edit(kSettings, '"Settings.CurrentBitrate": 90', '"Settings.CurrentBitrate": 100');
await untilShown(".event", /90 → 100/);
await shoot("timeline");

await goTo(page, "variables/Settings.CurrentBitrate");
await seen(page, ".places li");
await page.focus("input[type=search]");
await page.keyboard.type("settings");
await page.evaluate(() => document.activeElement.blur());
await shoot("variables");
await goTo(page, "headsets");
await seen(page, ".matrix tbody tr");
await shoot("headsets");
await goTo(page, `files/${kHmdList}`);
await untilShown(".copies", /refused/);
await page.$$eval(".copies button", (buttons) => buttons.find((button) => button.textContent.includes("editor")).click());
await untilShown(".findings", /line/);
await page.click(".findings .link");
await settled();
await shoot("files");
await page.$$eval("button", (buttons) => buttons.find((button) => button.textContent === "Discard").click());
await goTo(page, "machine");
await seen(page, ".bars li");
await shoot("machine");
const record = (type, name, value) => {
  const bytes = Buffer.from(name, "utf16le");
  const head = Buffer.alloc(12);
  [type, bytes.length, value.length].forEach((each, i) => head.writeUInt32LE(each, i * 4));
  return Buffer.concat([head, bytes, value]);
};
const integer = Buffer.alloc(8);
integer.writeBigInt64LE(90n);
const packet = join(folder.parent, "session.packet");
writeFileSync(
  packet,
  Buffer.concat([
    Buffer.from([0xbf, 0xfe, 0xeb, 1, 0, 0, 0, 0]),
    record(2, "Settings.CurrentBitrate", integer),
    record(1, "Video.LowLatency", Buffer.from([1])),
    record(4, "Settings.ServerName", Buffer.from("Lumo Server", "utf16le")),
    Buffer.from([4, 0, 0, 0, 99]),
  ]),
);
await goTo(page, "packet");
await (await seen(page, "input[type=file]")).uploadFile(packet);
await untilShown(".findings", /byte/);
await shoot("packet");
await page.setViewport({ width: 360, height: 740 });
await goTo(page, "variables");
await seen(page, ".grid-row");
await shoot("narrow");

await browser.close();
await server.stop();
folder.remove();
