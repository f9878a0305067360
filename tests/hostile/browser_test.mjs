// Reports over logs in which every attack stands wherever a visitor can write, in a real
// browser: nothing runs, nothing is fetched, nothing leads away. And the same attacks on
// pages that protect themselves from nothing, where they must be seen to work.
//
//   node browser_test.mjs CORPUS ORVELLIS    a page from a disk, and the control
//   node browser_test.mjs CORPUS             behind the server that ../site/with_server.sh runs
//
// CORPUS is the folder that corpus.py has written, BROWSER_PACKAGES names the folder with
// the npm packages, CHROMIUM the browser.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';
import { chmodSync, cpSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { runAll } from '../browser/run_all.mjs';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const [corpus, program] = process.argv.slice(2);
const { attacks, requests: counted, rows } = JSON.parse(readFileSync(join(corpus, 'corpus.json'), 'utf8'));
const { BASE_URL, SERVER, WORK, PREFIX } = process.env;

// So many of the attacks have worked where nothing protects; fewer mean that nobody looks.
const leastWorking = { pages: 200, classic: 10, types: 10 };

const fields = { username: program ? 'demo' : SERVER, date: '03052000,03112000', find: '*', find_pattern: '1', find_casesensitive: '1',
  showquery: '1', badurl_referrers: '1', dailytotals: '1', hitsperdayofweek: '1', hitsperhour: '1', hoursofweek: '1',
  ...Object.fromEntries(Object.keys(rows).map((section) => [section, '1,0'])) };

// ---- Browser and watcher ---------------------------------------------------------------

// No name leads anywhere, so that what is asked for is seen, and leaves nowhere.
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM,
  args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1'],
});

async function watched(options, steps) {
  const context = await browser.newContext({ acceptDownloads: true, ...options });
  context.setDefaultTimeout(60000);
  const seen = { messages: [], requests: [], navigations: [], dialogs: [], pages: 0 };
  const watch = (page) => {
    seen.pages += 1;
    page.on('console', (message) => seen.messages.push(message.text()));
    page.on('pageerror', (error) => seen.messages.push(error.message));
    page.on('dialog', (dialog) => { seen.dialogs.push(dialog.message()); dialog.dismiss().catch(() => {}); });
    page.on('framenavigated', (frame) => seen.navigations.push(frame.url()));
  };
  context.on('page', watch);
  context.on('request', (request) => seen.requests.push(request.url()));
  try {
    return await steps(await context.newPage(), seen, context);
  } finally {
    await context.close();
  }
}

// The attacks that have been seen to do something.
const known = new Set(attacks.map((attack) => attack.number));
const working = (seen) => new Set([...seen.messages, ...seen.requests, ...seen.navigations, ...seen.dialogs].flatMap(
  (text) => (decodeURIComponent(text.replace(/%(?![0-9A-Fa-f]{2})|%[89A-Fa-f]./g, '')).match(/7000\d\d\d/g) ?? []).map(Number))
  .filter((number) => known.has(number)));

// ---- What must hold of a report ------------------------------------------------------------

const pause = (page) => page.waitForTimeout(300);

async function useEverything(page) {
  await page.evaluate(() => {
    globalThis.copies = [];
    addEventListener('copy', (event) => globalThis.copies.push(event.clipboardData.getData('text/plain')));
    dispatchEvent(new Event('beforeprint'));
    for (const details of document.querySelectorAll('details')) { details.open = true; }
  });
  // By the elements' own means: of thousands of rows none need be scrolled to.
  const used = await page.evaluate(() => {
    const lists = [...document.querySelectorAll('.list')].filter((list) => list.querySelector('.tools'));
    let sorted = 0;
    for (const list of lists) {
      for (const button of list.querySelector('thead').querySelectorAll('button')) {
        button.click();
        sorted += 1;
      }
      const filter = list.querySelector('.tools input');
      for (const text of filter ? ['<script', '=', ''] : []) {
        filter.value = text;
        filter.dispatchEvent(new Event('input'));
      }
    }
    for (const element of document.querySelectorAll('td.i, td.i *')) {
      for (const kind of ['mouseover', 'focus', 'pointerdown']) { element.dispatchEvent(new Event(kind)); }
      if (!element.closest('a')) { element.dispatchEvent(new MouseEvent('click', { bubbles: true })); }
    }
    return { lists: lists.length, sorted };
  });
  assert.ok(used.lists > 8 && used.sorted > 30, JSON.stringify(used));
  for (const section of Object.keys(rows)) {
    await page.locator(`#${section} .tools button`).first().evaluate((button) => button.scrollIntoView());
    await page.locator(`#${section} .tools button`).first().click();
  }
  const copies = await page.evaluate(() => globalThis.copies);
  assert.equal(copies.length, Object.keys(rows).length);
  const calculating = copies.flatMap((text) => text.split(/[,;|\t"\r\n]/).filter((cell) => /^[=+\-@\uff1d\uff0b\uff0d\uff20]/.test(cell)));
  assert.deepEqual(calculating, []);
}

async function lookAtReport(page, seen, context, address) {
  await pause(page);
  const title = await page.title();
  const found = await page.evaluate(() => ({
    rows: Object.fromEntries([...document.querySelectorAll('section')].map((section) => [section.id, section.querySelectorAll('td.i').length])),
    made: [...new Set([...document.querySelectorAll('body *')].map((element) => element.localName))],
    handlers: [...document.querySelectorAll('*')].flatMap((element) => element.getAttributeNames()).filter((name) => /^on|^style$|^src|^action|^form/.test(name)),
    links: [...document.querySelectorAll('a')].map((link) => [link.protocol, link.rel, link.getAttribute('href')]),
    requests: document.querySelector('#overview .figure').textContent,
    own: [document.querySelectorAll('script').length, document.querySelectorAll('style').length, document.querySelectorAll('meta').length],
  }));
  for (const [section, count] of Object.entries(rows)) {
    assert.equal(found.rows[section], count, section);
  }
  assert.equal(found.requests, counted.toLocaleString('en'));
  assert.deepEqual(found.own, [1, 1, 9]);
  assert.deepEqual(found.made.filter((name) => ['img', 'iframe', 'frame', 'object', 'embed', 'form', 'base', 'link', 'meta', 'style', 'image', 'video',
    'audio', 'math', 'template', 'plaintext', 'textarea', 'select', 'marquee', 'foreignObject', 'animate', 'use'].includes(name)), []);
  assert.deepEqual(found.handlers, []);
  const outwards = found.links.filter(([, , href]) => !/^[#?]/.test(href));
  const inwards = found.links.filter(([, , href]) => /^[#?]/.test(href));
  assert.deepEqual(inwards.filter(([, rel, href]) => !/^#[a-z]+$/.test(href) && !(/^\?[\w.~%=&-]+$/.test(href) && rel === 'nofollow')), []);
  assert.ok(outwards.length > 1500, `${outwards.length} links`);
  // Of one whose host is none, as in "https://javascript:x", a browser makes no address.
  assert.deepEqual(outwards.filter(([protocol, rel, href]) => !/^https?:\/\//i.test(href) || !['http:', 'https:', ':'].includes(protocol) || rel !== 'noopener noreferrer nofollow'), []);

  await useEverything(page);
  await pause(page);
  assert.equal(await page.title(), title);
  assert.deepEqual(seen.messages, []);
  assert.deepEqual(seen.dialogs, []);
  assert.deepEqual([...new Set(seen.requests)], address);
  assert.deepEqual([...new Set(seen.navigations)], address);
  assert.equal(context.pages().length, 1);
}

// ---- The control -----------------------------------------------------------------------------

// Pages from elsewhere, in frames that may do anything but replace the page around them.
async function inFrames(pages, { most = 60, used = true } = {}) {
  return watched({}, async (page, seen, context) => {
    await context.route('http://control.test/**', (route) => {
      const name = new URL(route.request().url()).pathname.slice(1);
      return name in pages ? route.fulfill({ contentType: 'text/html; charset=utf-8', body: pages[name] }) : route.fulfill({ status: 404, body: '' });
    });
    await context.route('http://evil.test/**', (route) => route.abort());
    pages[''] = '<!DOCTYPE html><title>Control</title>';
    const names = Object.keys(pages).filter((name) => name !== '');
    for (let next = 0; next < names.length; next += most) {
      await page.goto('http://control.test/');
      await page.evaluate(async ({ some, used }) => {
        await Promise.all(some.map((name) => new Promise((resolve) => {
          const frame = document.createElement('iframe');
          frame.sandbox = 'allow-scripts allow-same-origin allow-forms allow-popups allow-modals';
          frame.src = `/${name}`;
          frame.onload = resolve;
          setTimeout(resolve, 3000);
          document.body.append(frame);
        })));
        for (const frame of used ? document.querySelectorAll('iframe') : []) {
          try {
            for (const element of frame.contentDocument.querySelectorAll('body *')) {
              for (const kind of ['mouseover', 'pointerenter', 'focus', 'click']) { element.dispatchEvent(new MouseEvent(kind, { bubbles: true })); }
              element.click?.();
            }
          } catch { /* a frame that an attack has led elsewhere */ }
        }
      }, { some: names.slice(next, next + most), used }).catch(() => {});
      await pause(page);
    }
    return working(seen);
  });
}

function tellOfKinds(fired) {
  const kinds = {};
  for (const attack of attacks) {
    const kind = kinds[attack.kind] ??= [0, 0];
    kind[1] += 1;
    kind[0] += fired.has(attack.number) ? 1 : 0;
  }
  return Object.entries(kinds).filter(([, [some]]) => some > 0).map(([kind, [some, all]]) => `${kind} ${some}/${all}`).join(', ');
}

// ---- From a disk -----------------------------------------------------------------------------

function report(edition, output) {
  writeFileSync(join(corpus, 'orvellis.conf'),
    `Networks=${corpus}/names.txt\nuser=demo;logs=${corpus}/logs/*.log;url=http://www.example.com;password=*;title=Hostile\n`);
  return execFileSync(program, [`edition=${edition}`, 'config=orvellis.conf', `output=${output}`, 'subdirs=1',
    ...Object.entries(fields).map(([name, value]) => `${name}=${value}`)],
  { cwd: corpus, env: { TZ: 'UTC', SOURCE_DATE_EPOCH: '1000000000' }, maxBuffer: 1 << 28 });
}

const fromDisk = {
  async 'a page from a disk runs and fetches nothing'() {
    const path = join(corpus, 'report.html');
    writeFileSync(path, report('modern', 'modern'));
    await watched({}, async (page, seen, context) => {
      await page.goto(`file://${path}`);
      await lookAtReport(page, seen, context, [`file://${path}`]);
      assert.deepEqual([...working(seen)], []);
    });
  },
  async 'the same without the policy that the page brings: texts are texts by themselves'() {
    const path = join(corpus, 'open.html');
    const html = report('modern', 'modern').toString();
    const open = html.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '<meta name=x>');
    assert.notEqual(open, html);
    writeFileSync(path, open);
    await watched({}, async (page, seen, context) => {
      await page.goto(`file://${path}`);
      await lookAtReport(page, seen, context, [`file://${path}`]);
    });
  },
  async 'the same attacks work where nothing protects'() {
    const pages = Object.fromEntries(readdirSync(join(corpus, 'control')).map((name) => [name, readFileSync(join(corpus, 'control', name))]));
    const fired = await inFrames(pages);
    console.log(`${fired.size} attacks work: ${tellOfKinds(fired)}`);
    assert.ok(fired.size >= leastWorking.pages, `only ${fired.size} attacks work`);
  },
  async 'from the same logs, too'() {
    const fired = await inFrames({ 'classic.html': report('classic', '') }, { used: false });
    console.log(`${fired.size} attacks work on the classic page`);
    assert.ok(fired.size >= leastWorking.classic, `only ${fired.size} attacks work on the classic page`);
  },
  async 'other outputs would be harmful as pages'() {
    const fired = await inFrames({ 'a.html': report('modern', 'json'), 'b.html': report('modern', 'text'), 'c.html': report('modern', 'csv') }, { used: false });
    console.log(`${fired.size} attacks work in other outputs when they are taken for pages`);
    assert.ok(fired.size >= leastWorking.types, `only ${fired.size}`);
  },
};

// ---- Behind a server -------------------------------------------------------------------------

function install() {
  const logs = `${WORK}/log/${SERVER}`;
  for (const name of readdirSync(logs)) {
    rmSync(join(logs, name), { force: true });
  }
  for (const [place, name] of readdirSync(join(corpus, 'logs')).entries()) {
    const log = join(logs, `access.log.${place}`);
    cpSync(join(corpus, 'logs', name), log);
    chmodSync(log, 0o644);
  }
}

// Posts the request in the page, as the form does.
async function request(page, more) {
  await page.goto(`${BASE_URL}/orvellis/`);
  await page.evaluate(({ action, values }) => {
    const form = document.createElement('form');
    form.method = 'post';
    form.action = action;
    for (const [name, value] of Object.entries(values)) {
      form.append(Object.assign(document.createElement('input'), { name, value }));
    }
    document.body.append(form);
    setTimeout(() => form.submit());
  }, { action: '/orvellis-cgi/orvellis', values: { ...fields, password: 'Teapot', ...more } });
}

const program_address = `${BASE_URL}/orvellis-cgi/orvellis`;

const behindServer = {
  async 'a page behind a server runs and fetches nothing'() {
    await watched({}, async (page, seen, context) => {
      await page.goto(`${BASE_URL}/orvellis/`);
      const answered = page.waitForResponse(program_address);
      await request(page, { output: 'modern' });
      assert.equal((await answered).status(), 200);
      await page.waitForURL(program_address);
      await page.waitForLoadState('load');
      seen.messages.length = 0;
      seen.requests.length = 0;
      seen.navigations.length = 0;
      await lookAtReport(page, seen, context, []);
      assert.equal(page.url(), program_address);
    });
  },
  async 'JSON and text are shown as they are, a table is saved'() {
    for (const output of ['json', 'text', 'csv']) {
      await watched({}, async (page, seen, context) => {
        const answered = page.waitForResponse(program_address);
        const saved = output === 'csv' ? page.waitForEvent('download') : null;
        await request(page, { output });
        const headers = (await answered).headers();
        assert.equal(headers['x-content-type-options'], 'nosniff', output);
        assert.match(headers['content-type'], { json: /^application\/json/, text: /^text\/plain/, csv: /^text\/csv/ }[output]);
        assert.match(headers['content-security-policy'], /sandbox/);
        if (saved) {
          assert.match((await saved).suggestedFilename(), /^orvellis-[a-z]+-[-\d]+\.csv$/);
          assert.equal(page.url(), `${BASE_URL}/orvellis/`);
        } else {
          await page.waitForURL(program_address);
          await page.waitForLoadState('load');
          const type = await page.evaluate(() => document.contentType);
          assert.match(type, /json|text\/plain/);
          const made = await page.evaluate(() => [...new Set([...document.querySelectorAll('*')].map((element) => element.localName))]);
          assert.deepEqual(made.filter((name) => !['html', 'head', 'meta', 'body', 'pre', 'div', 'link', 'style'].includes(name)), [], output);
          assert.match(await page.evaluate(() => document.querySelector('pre').textContent), /<script>console\.log\(7000000\)<\/script>/);
        }
        await pause(page);
        assert.deepEqual([...working(seen)], [], output);
        assert.deepEqual(seen.dialogs, []);
        assert.equal(context.pages().length, 1);
        assert.deepEqual(seen.requests.filter((address) => !address.startsWith(`${BASE_URL}/orvellis`)), []);
      });
    }
  },
};

// ---- All of it -------------------------------------------------------------------------------

const tests = program ? fromDisk : behindServer;
if (!program) {
  install();
}
await runAll(tests, () => browser.close());
