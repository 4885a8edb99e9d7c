// 1,000 changes a second for ten minutes (ZQ_SERVE_SOAK_SECONDS): the page stays up to date, and neither its memory nor
// the server's grows.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { DataFolder, kSettings, openPage, Server, startBrowser, until } from "./harness.mjs";

const build = process.env.ZQ_BUILD;
const seconds = Number(process.env.ZQ_SERVE_SOAK_SECONDS ?? 600);
const kPerBatch = 250;
const kBatchMilliseconds = 250;
// The first part fills what is bounded: history, timeline, the system's caches.
const kWarmPart = 0.3;

const residentMegabytes = (pid) => Number(readFileSync(`/proc/${pid}/status`, "latin1").match(/VmRSS:\s+(\d+)/)[1]) / 1024;
const mean = (numbers) => numbers.reduce((sum, each) => sum + each, 0) / numbers.length;

test("memory stays flat and the page keeps up", async () => {
  const folder = new DataFolder();
  const server = await Server.start(build, folder);
  const browser = await startBrowser();
  const page = await openPage(browser, server);
  const samples = [];
  let worst = 0;
  let changes = 0;
  const end = Date.now() + seconds * 1000;
  for (let round = 1; Date.now() < end; round++) {
    const started = Date.now();
    const value = (i) => round * 1000 + i;
    folder.write(kSettings, JSON.stringify(Object.fromEntries(Array.from({ length: kPerBatch }, (_, i) => [`A.N${String(i).padStart(4, "0")}`, value(i)]))));
    await until(() => page.$eval('[data-name="A.N0000"]', (cell, wanted) => cell.textContent.includes(`→ ${wanted}`), value(0)).catch(() => false), `round ${round} is shown`, 5000);
    worst = Math.max(worst, Date.now() - started);
    changes += kPerBatch;
    if (round % 20 === 0) {
      const { JSHeapUsedSize } = await page.metrics();
      samples.push({ server: residentMegabytes(server.process.pid), page: JSHeapUsedSize / 1024 / 1024 });
    }
    const left = kBatchMilliseconds - (Date.now() - started);
    if (left > 0) {
      await new Promise((resolve) => setTimeout(resolve, left));
    }
  }
  const warm = samples.slice(Math.floor(samples.length * kWarmPart));
  const half = Math.floor(warm.length / 2);
  for (const part of ["server", "page"]) {
    const before = mean(warm.slice(0, half).map((sample) => sample[part]));
    const after = mean(warm.slice(half).map((sample) => sample[part]));
    console.log(`# ${part}: ${before.toFixed(1)} MB, then ${after.toFixed(1)} MB`);
    assert.ok(after < before * 1.15 + 2, `the ${part} grew from ${before} to ${after} MB`);
  }
  console.log(`# ${(changes / seconds).toFixed(0)} changes a second over ${seconds} s; the page was never later than ${worst} ms`);
  await browser.close();
  await server.stop();
  folder.remove();
});
