// More than 1,000 changes a second for ten minutes (ZQ_SERVE_SOAK_SECONDS): the page stays up to date, and neither its
// memory nor the server's grows.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { DataFolder, kSettings, openPage, Server, startBrowser, until } from "./harness.mjs";

const build = process.env.ZQ_BUILD;
const seconds = Number(process.env.ZQ_SERVE_SOAK_SECONDS ?? 600);
const kPerBatch = 300;
const kBatchMilliseconds = 250;
// First, as fast as the page follows, until all that is bounded is full: history, timeline, the heaps' spare memory.
const kWarmRounds = Math.min(4000, seconds * 7);
// What a line through the samples may gain over their whole time.
const kMostGrowth = 0.03;

const residentMegabytes = (pid) => Number(readFileSync(`/proc/${pid}/status`, "latin1").match(/VmRSS:\s+(\d+)/)[1]) / 1024;
const mean = (numbers) => numbers.reduce((sum, each) => sum + each, 0) / numbers.length;
const sleepUntil = (time) => new Promise((resolve) => setTimeout(resolve, Math.max(0, time - Date.now())));

// The line of least squares through [x, y]: its first and last height.
function lineThrough(points) {
  const x0 = mean(points.map(([x]) => x));
  const y0 = mean(points.map(([, y]) => y));
  const slope = points.reduce((sum, [x, y]) => sum + (x - x0) * (y - y0), 0) / points.reduce((sum, [x]) => sum + (x - x0) ** 2, 0);
  const at = ([x]) => y0 + slope * (x - x0);
  return [at(points[0]), at(points.at(-1))];
}

test("memory stays flat and the page keeps up", async () => {
  const folder = new DataFolder();
  const server = await Server.start(build, folder);
  const browser = await startBrowser();
  const page = await openPage(browser, server);
  let round = 0;
  // Resolves with the time from the file's write to the page, in milliseconds.
  const change = async () => {
    const started = Date.now();
    const value = ++round * 1000;
    folder.write(kSettings, JSON.stringify(Object.fromEntries(Array.from({ length: kPerBatch }, (_, i) => [`A.N${String(i).padStart(4, "0")}`, value + i]))));
    await until(() => page.$eval('[data-name="A.N0000"]', (cell, wanted) => cell.textContent.includes(`→ ${wanted}`), value).catch(() => false), `round ${round} is shown`, 5000);
    return Date.now() - started;
  };
  while (round < kWarmRounds) {
    await change();
  }

  const samples = [];
  let worst = 0;
  let changes = 0;
  const begin = Date.now();
  for (let turn = 0; Date.now() < begin + seconds * 1000; turn++) {
    // By the clock: a late turn does not make the next one later.
    await sleepUntil(begin + turn * kBatchMilliseconds);
    worst = Math.max(worst, await change());
    changes += kPerBatch;
    if (turn % 8 === 0) {
      const { JSHeapUsedSize } = await page.metrics();
      samples.push({ time: Date.now() - begin, server: residentMegabytes(server.process.pid), page: JSHeapUsedSize / 1024 / 1024 });
    }
  }
  const took = (Date.now() - begin) / 1000;
  const faults = [];
  for (const part of ["server", "page"]) {
    const tenths = Array.from({ length: 10 }, (_, i) => samples.slice(Math.floor((i * samples.length) / 10), Math.floor(((i + 1) * samples.length) / 10)));
    console.log(`# ${part}, mean of each tenth: ${tenths.map((tenth) => mean(tenth.map((sample) => sample[part])).toFixed(1)).join(" ")} MB`);
    const [first, last] = lineThrough(samples.map((sample) => [sample.time, sample[part]]));
    console.log(`# ${part}, line through the samples: ${first.toFixed(2)} to ${last.toFixed(2)} MB`);
    if (last > first * (1 + kMostGrowth)) {
      faults.push(`the ${part} grew from ${first} to ${last} MB`);
    }
  }
  console.log(`# ${(changes / took).toFixed(0)} changes a second over ${took.toFixed(0)} s; the page was never later than ${worst} ms`);
  await browser.close();
  await server.stop();
  folder.remove();
  assert.deepEqual(faults, []);
  assert.ok(changes / took > 1000, `${changes / took} changes a second`);
});
