// Starts zqsettings serve under Wine on a folder of its own, and a browser to look at it.
import { spawn } from "node:child_process";
import { cpSync, mkdirSync, mkdtempSync, readFileSync, renameSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

export const root = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
export const kSettings = "ZQ2_serverSetting.setting";
export const kHmdList = "ZQ2_HmdList.json";
export const kQuality = "ZQ2_QualityPreset.json";

// Only a failing test waits this long: much more than a machine that also builds and tests needs.
const kWaitCap = Number(process.env.ZQ_WAIT_CAP ?? 60_000);
const kStartCap = 30_000;

// scripts/soak.sh, on a machine that nobody else uses.
export const isLong = process.env.ZQ_TEST_LONG === "1";

// Speeds and delays are printed everywhere and held in the long form only.
export function checkFigure(isMet, what) {
  console.log(`# ${what}${isMet ? "" : ": missed"}`);
  if (isLong && !isMet) {
    throw new Error(`missed: ${what}`);
  }
}

// Waits for an event, never for a time: calls `look` until it returns something true.
export async function until(look, what, cap = kWaitCap) {
  const end = Date.now() + cap;
  for (;;) {
    const found = await look();
    if (found) {
      return found;
    }
    if (Date.now() > end) {
      throw new Error(`this did not happen within ${cap} ms: ${what}`);
    }
    await new Promise((resolve) => setTimeout(resolve, 15));
  }
}

// A data folder with the default files in it.
export class DataFolder {
  constructor() {
    this.parent = mkdtempSync(join(tmpdir(), "zqserve-"));
    this.path = join(this.parent, "ZQserver");
    cpSync(join(root, "defaults"), this.path, { recursive: true });
  }
  file(name) {
    return join(this.path, name);
  }
  read(name) {
    return readFileSync(this.file(name), "latin1");
  }
  write(name, text) {
    writeFileSync(this.file(name), text, "latin1");
  }
  // As an editor does that writes elsewhere and renames.
  replace(name, text) {
    const part = join(this.parent, "part");
    writeFileSync(part, text, "latin1");
    renameSync(part, this.file(name));
  }
  edit(name, from, to) {
    const text = this.read(name);
    const edited = text.replace(from, to);
    if (edited === text) {
      throw new Error(`${name} has no ${from}`);
    }
    this.write(name, edited);
  }
  makeFolder(name) {
    mkdirSync(join(this.path, name));
    return join(this.path, name);
  }
  remove() {
    rmSync(this.parent, { recursive: true, force: true });
  }
}

// Starts zqsettings.exe; `onOutput` gets what it prints. Wine's desktop process keeps the output of whichever program started it
// open, for minutes at times: this process does not wait for its end.
export function startTool(build, words, onOutput, onErrors) {
  const tool = spawn(join(root, "scripts/wine-run.sh"), [join(build, "bin/zqsettings.exe"), ...words], { stdio: ["ignore", "pipe", "pipe"] });
  tool.stdout.on("data", onOutput).unref();
  tool.stderr.on("data", onErrors).unref();
  return tool;
}

const servers = new Set();

// For the end of a test file: a test that fails leaves its server running, and this process would wait for it.
export function killServers() {
  servers.forEach((server) => server.process.kill("SIGKILL"));
}

export class Server {
  // `build` is the build folder with bin/zqsettings.exe. Wine 8 rarely loses a new process, or only its first thread, before it
  // begins: the server is started once more then.
  static async start(build, folder, options = []) {
    const server = new Server(build, folder, options);
    if (await server.printsAddress()) {
      return server;
    }
    server.process.kill("SIGKILL");
    const second = new Server(build, folder, options);
    if (await second.printsAddress()) {
      return second;
    }
    throw new Error(`the server does not start: ${second.output}`);
  }
  constructor(build, folder, options) {
    const data = folder ? ["--data", `Z:${folder.path.replaceAll("/", "\\")}`] : [];
    this.output = "";
    const keep = (text) => (this.output += text);
    this.process = startTool(build, ["serve", ...data, ...options], keep, keep);
    servers.add(this);
    this.hasEnded = false;
    this.ended = new Promise((resolve) => this.process.on("exit", resolve));
    this.ended.then(() => (this.hasEnded = true));
  }
  // Returns false if it ends before that, or takes too long.
  async printsAddress() {
    const isOver = () => this.hasEnded || /http:\S+/.test(this.output);
    await until(isOver, "the address is printed", kStartCap).catch(() => {});
    this.address = this.output.match(/http:\S+/)?.[0];
    this.url = this.address && new URL(this.address);
    return Boolean(this.address);
  }
  // As Ctrl+C; the exit code.
  async stop() {
    this.process.kill("SIGINT");
    const timer = setTimeout(() => this.process.kill("SIGKILL"), kWaitCap);
    const code = await this.ended;
    clearTimeout(timer);
    servers.delete(this);
    return code;
  }
}

export async function startBrowser() {
  return puppeteer.launch({
    executablePath: process.env.ZQ_CHROMIUM ?? "/usr/bin/chromium",
    headless: true,
    timeout: kWaitCap,
    args: [
      "--no-sandbox",
      "--disable-gpu",
      "--disable-quic",
      "--no-first-run",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      "--force-color-profile=srgb",
      // Tabs in the background are looked at too.
      "--disable-background-timer-throttling",
      "--disable-renderer-backgrounding",
      "--disable-backgrounding-occluded-windows",
    ],
  });
}

export async function openPage(browser, server, hash = "", { width = 1280, height = 800, theme = "light" } = {}) {
  const page = await browser.newPage();
  page.faults = [];
  page.on("pageerror", (error) => page.faults.push(String(error)));
  page.on("console", (message) => message.type() === "error" && page.faults.push(message.text()));
  await page.setViewport({ width, height });
  await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: theme }]);
  await page.goto(server.address + hash, { waitUntil: "load", timeout: kWaitCap });
  await seen(page, ".status.good, .status.warn");
  return page;
}

// Also in a tab in the background, which draws no frames.
export const seen = (page, selector) => until(() => page.$(selector), `${selector} is on the page`);

export const goTo = (page, hash) => page.evaluate((to) => (location.hash = to), hash);
