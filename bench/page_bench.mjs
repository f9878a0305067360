// How long a browser takes to open a page with very many rows.
//
//   node bench/page_bench.mjs PROGRAM [rows=N] [rounds=N]
//
// Makes a report over so many distinct URLs (100,000), all of them in the page, and opens it from disk
// in a browser that knows nothing of it yet, round after round (9). Prints medians and the slowest round in
// milliseconds: from the navigation to the first text, to the end of loading and to the first frame behind
// it; then from the wish to be at the end to the frame that shows it, with rows folded as the page comes
// and with all of them open.
//
// BROWSER_PACKAGES names the folder with the npm packages (tests/browser), CHROMIUM the browser.
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';
import { mkdtempSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const program = resolve(process.argv[2]);
const { rows, rounds } = { rows: 100000, rounds: 9, ...Object.fromEntries(process.argv.slice(3).map((word) => {
  const [name, value] = word.split('=');
  return [name, Number(value)];
})) };
const work = mkdtempSync(join(tmpdir(), 'orvellis-page-bench-'));

function makePage() {
  const log = Array.from({ length: rows }, (_, i) => `h${i % 97}.example.com - - [05/Mar/2000:10:00:00 +0000] `
    + `"GET /products/teapot/item${i}.html?colour=blue&size=12 HTTP/1.0" 200 100 "-" "-"\n`);
  writeFileSync(join(work, 'access.log'), log.join(''));
  writeFileSync(join(work, 'orvellis.conf'), `user=bench;logs=${work}/access.log;url=http://www.example.com;password=*\n`);
  const page = execFileSync(program, ['edition=modern', `config=${work}/orvellis.conf`, 'username=bench', 'find=/', 'subdirs=1',
    'date=03052000,03052000', 'requests=1,0', 'dailytotals=1', 'hitsperhour=1'], { env: { TZ: 'UTC' }, maxBuffer: 1 << 30 });
  const path = join(work, 'report.html');
  writeFileSync(path, page);
  return path;
}

// In the page: behind a frame has been drawn.
const drawn = () => new Promise((done) => { requestAnimationFrame(() => setTimeout(() => done(performance.now()), 0)); });

const toTheEnd = () => new Promise((done) => {
  const begun = performance.now();
  scrollTo(0, document.documentElement.scrollHeight);
  requestAnimationFrame(() => setTimeout(() => done(performance.now() - begun), 0));
});

const openTheLast = () => new Promise((done) => {
  const begun = performance.now();
  const fold = [...document.querySelectorAll('#requests details.fold')].at(-1);
  fold.open = true;
  fold.scrollIntoView({ block: 'end' });
  requestAnimationFrame(() => setTimeout(() => done(performance.now() - begun), 0));
});

async function measure(path) {
  const browser = await chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking'] });
  try {
    const page = await browser.newPage();
    const session = await page.context().newCDPSession(page);
    await session.send('Performance.enable', { timeDomain: 'threadTicks' });
    await page.goto(`file://${path}`, { waitUntil: 'load' });
    const shown = await page.evaluate(drawn);
    const { metrics } = await session.send('Performance.getMetrics');
    const computed = 1000 * metrics.find(({ name }) => name === 'TaskDuration').value;
    const { paint, load, count } = await page.evaluate(() => ({
      paint: performance.getEntriesByName('first-contentful-paint')[0]?.startTime ?? NaN,
      load: performance.getEntriesByType('navigation')[0].loadEventEnd,
      count: document.querySelectorAll('#requests tbody tr').length,
    }));
    if (count !== rows) {
      throw new Error(`the page has ${count} rows, not ${rows}`);
    }
    return { 'first text': paint, loaded: load, 'first frame behind': shown, 'processor till then': computed, 'to the end, folded': await page.evaluate(toTheEnd),
      'the last fold opened': await page.evaluate(openTheLast) };
  } finally {
    await browser.close();
  }
}

const path = makePage();
console.log(`${rows} rows, ${statSync(path).size} bytes, ${rounds} rounds`);
const found = [];
for (let round = 0; round < rounds; ++round) {
  found.push(await measure(path));
}
for (const name of Object.keys(found[0])) {
  const sorted = found.map((times) => times[name]).sort((a, b) => a - b);
  console.log(`${name.padEnd(24)} ${sorted[sorted.length >> 1].toFixed(0).padStart(7)} ms   slowest ${sorted.at(-1).toFixed(0)} ms`);
}
rmSync(work, { recursive: true });
