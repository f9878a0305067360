// A report as one file on a disk, opened in a browser: what it looks like without a
// server, without a script, to a reader of a screen, and over logs that attack.
//
//   node page_test.mjs ORVELLIS
//
// BROWSER_PACKAGES names the folder with the npm packages, CHROMIUM the browser.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';
import { copyFileSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { runAll } from './run_all.mjs';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const axe = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const program = process.argv[2];
const work = mkdtempSync(join(tmpdir(), 'orvellis-page-'));

// ---- Reports -------------------------------------------------------------------------

const sections = ['requests=1,0', 'referrers=1,0', 'search=1,0', 'browsers=1,0', 'badurls=1,0', 'badreferrers=1,0',
  'badurl_referrers=1', 'domains=1,0', 'domaintypes=1,0', 'dailytotals=1', 'hitsperdayofweek=1', 'hitsperhour=1',
  'hoursofweek=1'];

const line = ({ host = 'shop.example.com', url = '/', status = 200, referrer = '-', agent = '-' }, i) =>
  `${host} - - [05/Mar/2000:${String(i % 24).padStart(2, '0')}:00:00 +0000] "GET ${url} HTTP/1.0" ${status} 100 "${referrer}" "${agent}"\n`;

function report(name, requests, parameters = [], title = 'A report') {
  writeFileSync(join(work, `${name}.log`), requests.map(line).sort((a, b) => a.match(/:(\d\d):/)[1] - b.match(/:(\d\d):/)[1]).join(''));
  writeFileSync(join(work, `${name}.conf`),
    `user=demo;logs=${work}/${name}.log;url=http://www.example.com;password=*;title=${title}\n`);
  const page = execFileSync(program, ['edition=modern', `config=${work}/${name}.conf`, 'username=demo', 'find=/',
    'subdirs=1', 'date=03052000,03062000', ...sections, ...parameters],
  { env: { TZ: 'UTC', SOURCE_DATE_EPOCH: '1000000000' }, maxBuffer: 1 << 28 });
  const path = join(work, `${name}.html`);
  writeFileSync(path, page);
  return `file://${path}`;
}

// The index of a folder of reports: [name of the file, title]. Its program stands beside the other one.
function index(name, reports) {
  const folder = join(work, name);
  rmSync(folder, { recursive: true, force: true });
  for (const [file, title] of reports) {
    const page = join(folder, file);
    mkdirSync(dirname(page), { recursive: true });
    copyFileSync(new URL(report('one-of-many', ordinary, [], title)), page);
  }
  mkdirSync(folder, { recursive: true });
  execFileSync(join(dirname(program), 'orvellis-index'), [folder], { env: { TZ: 'UTC', SOURCE_DATE_EPOCH: '1000000000' } });
  return `file://${join(folder, 'index.html')}`;
}

const ordinary = Array.from({ length: 300 }, (_, i) => ({
  url: i % 9 === 0 ? `/gone/${i % 4}` : `/articles/${i % 40}${'-and-so-on'.repeat(i % 13)}`, status: i % 9 === 0 ? 404 : 200,
  referrer: i % 3 === 0 ? `http://www.google.com/search?q=phrase+${i % 25}` : `http://blog.example.org/${i % 30}`,
  agent: `Browser/${i % 20}`, host: `h${i}.example.${['com', 'de', 'fr'][i % 3]}`,
}));

const attacks = ["<script>document.title='owned'</script>", "<img\fsrc=//evil.test/a.gif\fonerror=document.title='owned'>",
  "<svg\fonload=document.title='owned'>", '<meta\fhttp-equiv=refresh\fcontent=0;url=//evil.test/refresh>', '<iframe\fsrc=//evil.test/frame>',
  '<link\frel=stylesheet\fhref=//evil.test/style.css>', '<!--', '--><h1>', '</title></style></script><h1>', '</td></table></details></main><h1>',
  "\"onfocus=document.title='owned'\fautofocus=\"", "'onmouseover='document.title=1", "javascript:document.title='owned'",
  'data:text/html,<script>1</script>', '//evil.test/', '@evil.test/', '\u202eevil', `a${'\u0301'.repeat(500)}`, 'w'.repeat(3000), '=1+1'];
const hostile = attacks.flatMap((attack) => [
  { url: `/u>${attack}`, referrer: `http://r.example/>${attack}`, agent: attack.replaceAll('"', "'"), host: `h${encodeURI(attack).slice(0, 40)}.example.com` },
  { url: attack, referrer: attack, agent: attack },
  { url: `/b>${attack}`, status: 404, referrer: `http://s.example/${attack}` },
  { referrer: `http://www.google.com/search?q=${encodeURIComponent(attack)}` },
]);

// ---- Browser -------------------------------------------------------------------------

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM,
  args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking'],
});
const phone = { viewport: { width: 390, height: 800 }, isMobile: true, deviceScaleFactor: 1 };

async function withPage(address, options, steps) {
  const context = await browser.newContext(options);
  const page = await context.newPage();
  const seen = { messages: [], requests: [] };
  page.on('console', (message) => seen.messages.push(message.text()));
  page.on('pageerror', (error) => seen.messages.push(error.message));
  page.on('request', (request) => seen.requests.push(request.url()));
  page.on('dialog', (dialog) => { seen.messages.push('dialog'); dialog.dismiss(); });
  try {
    await page.goto(address);
    return await steps(page, seen);
  } finally {
    await context.close();
  }
}

const texts = (page, selector) => page.locator(selector).evaluateAll((list) => list.map((element) => element.textContent.trim()));
const firstItems = (page) => texts(page, '#requests .list > table td.i > :first-child');

const tests = {
  async 'a page from a disk fetches nothing and has nothing to complain of'() {
    for (const [name, requests] of [['ordinary', ordinary], ['hostile', hostile], ['empty', []]]) {
      await withPage(report(name, requests), {}, async (page, seen) => {
        assert.deepEqual(seen.messages, [], name);
        assert.deepEqual(seen.requests, [page.url()], name);
      });
    }
  },
  async 'what is not of the page cannot run, and could without its policy'() {
    const address = report('injected', ordinary);
    const html = readFileSync(new URL(address), 'utf8');
    const attack = "<img src=x onerror=\"document.title='owned'\"><script>document.title='owned'</script><style>body{display:none}</style>";
    const open = html.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '');
    assert.notEqual(open, html);
    for (const [source, owned] of [[html, false], [open, true]]) {
      writeFileSync(new URL(address), source.replace('<main>', `<main>${attack}`));
      await withPage(address, {}, async (page) => {
        await page.waitForTimeout(300);
        assert.equal(await page.title() === 'owned', owned);
        assert.equal(await page.locator('body').evaluate((body) => getComputedStyle(body).display === 'none'), owned);
      });
    }
  },
  async 'texts of hostile logs stay texts within their cells'() {
    await withPage(report('hostile', hostile, [], 'A <b>title</b>'), { viewport: { width: 1200, height: 900 } }, async (page, seen) => {
      await page.evaluate(() => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
      await page.waitForTimeout(300);
      assert.match(await page.title(), /^A <b>title<\/b>: /);
      assert.equal(await page.locator('h1').count(), 1);
      assert.deepEqual(await page.evaluate(() => ['img', 'iframe', 'object', 'form', 'base', 'link', 'main script', 'main style', 'main meta'].filter(
        (selector) => document.querySelector(selector))), []);
      assert.deepEqual(await page.locator('main *').evaluateAll((list) => list.flatMap((element) =>
        element.getAttributeNames().filter((name) => name.startsWith('on') || name === 'style' || name === 'autofocus'))), []);
      const links = await page.locator('td a').evaluateAll((list) => list.map((link) => [link.protocol, link.rel, link.hostname]));
      assert.ok(links.length > 50);
      assert.deepEqual(links.filter(([protocol, rel, host]) => !['http:', 'https:'].includes(protocol) ||
        rel !== 'noopener noreferrer nofollow' || host.includes('evil')), []);
      const outside = await page.locator('td a, td bdi').evaluateAll((list) => list.filter((element) => {
        const cell = element.closest('td').getBoundingClientRect();
        const box = element.getBoundingClientRect();
        return getComputedStyle(element).overflow !== 'clip' || box.left < cell.left - 1 || box.right > cell.right + 1;
      }).map((element) => element.outerHTML.slice(0, 100)));
      assert.deepEqual(outside, []);
      assert.deepEqual(seen.requests, [page.url()]);
    });
  },
  async 'nothing is wider than the window'() {
    for (const [name, requests] of [['ordinary', ordinary], ['hostile', hostile], ['empty', []]]) {
      for (const options of [phone, {}]) {
        await withPage(report(name, requests), options, async (page) => {
          await page.evaluate(() => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
          assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= document.documentElement.clientWidth), name);
        });
      }
    }
  },
  async 'axe finds nothing'() {
    // In each look, and with folds closed and open; what is special of others are their items. A row too many is enough.
    const few = sections.map((section) => section.replace(/,0$/, ',14'));
    const looks = [{}, { colorScheme: 'dark' }, phone];
    for (const [name, requests, among, folds] of [['ordinary', ordinary, looks, [false, true]], ['hostile', hostile, [{}, phone], [true]],
      ['empty', [], [{}], [true]]]) {
      for (const options of among) {
        await withPage(report(name, requests, few), { ...options, bypassCSP: true }, async (page) => {
          await page.evaluate(axe);
          for (const open of folds) {
            await page.evaluate((all) => document.querySelectorAll('details').forEach((details) => { details.open = all; }), open);
            const { violations } = await page.evaluate(() => globalThis.axe.run());
            assert.deepEqual(violations.map((v) => [v.id, ...v.nodes.slice(0, 3).map((node) => node.html)]), [],
              `${name} ${JSON.stringify(options)} ${open}`);
          }
        });
      }
    }
  },
  async 'the many figures of slow URLs stand beside or below each other, as there is room'() {
    // What the log has for bytes is taken for milliseconds.
    const address = report('slow', [...ordinary, ...hostile], ['slow=1,0',
      'logformat=$remote_addr - - [$time_local] "$request" $status $taken_milliseconds "$http_referer" "$http_user_agent"']);
    for (const width of [1400, 1024, 860, 700, 390, 320]) {
      await withPage(address, { viewport: { width, height: 900 }, bypassCSP: true }, async (page) => {
        await page.evaluate(() => document.querySelectorAll('#slow details').forEach((details) => { details.open = true; }));
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= document.documentElement.clientWidth), `${width}`);
        const rows = await page.locator('#slow tbody tr').evaluateAll((list) => list.map((row) => ({
          cells: row.cells.length, item: row.querySelector('.i').getBoundingClientRect().width,
          cut: [...row.querySelectorAll('.c, .s')].filter((cell) => cell.scrollWidth > cell.clientWidth + 1).length,
        })));
        assert.ok(rows.length > 40);
        assert.deepEqual(rows.filter((row) => row.cells !== 8 || row.item < 150 || row.cut > 0), [], `${width}`);
        if (width === 1400 || width === 390) {
          await page.evaluate(axe);
          const { violations } = await page.evaluate(() => globalThis.axe.run('#slow'));
          assert.deepEqual(violations.map((v) => [v.id, ...v.nodes.slice(0, 3).map((node) => node.html)]), [], `${width}`);
        }
      });
    }
    await withPage(address, {}, async (page) => {
      await page.getByRole('button', { name: 'Sum' }).first().click();
      assert.equal(await page.locator('#slow th.c').last().getAttribute('aria-sort'), 'descending');
    });
  },
  async 'the page is whole without a script'() {
    for (const [parameters, options] of [[[], { javaScriptEnabled: false }], [['no_script=1'], {}]]) {
      await withPage(report('ordinary', ordinary, parameters), options, async (page, seen) => {
        assert.deepEqual(seen.messages, []);
        assert.equal(await page.locator('.tools, th button').count(), 0);
        assert.equal(await page.locator('#requests .list > table tbody tr').count(), 10);
        const hidden = page.locator('#requests .fold tbody tr').first();
        assert.equal(await hidden.isVisible(), false);
        await page.locator('#requests .fold > summary').first().focus();
        await page.keyboard.press('Enter');
        assert.equal(await hidden.isVisible(), true);
      });
    }
  },
  async 'the keyboard reaches the contents, the folds and the whole of a long text'() {
    await withPage(report('ordinary', ordinary), {}, async (page) => {
      await page.keyboard.press('Tab');
      assert.equal(await page.evaluate(() => document.activeElement.className), 'skip');
      await page.locator('nav a[href="#requests"]').focus();
      await page.keyboard.press('Enter');
      await page.waitForTimeout(600);
      assert.ok((await page.locator('#requests').boundingBox()).y < 100);
      const fold = page.locator('#requests .in').first();
      await fold.locator('summary').focus();
      const outline = await fold.locator('summary').evaluate((summary) => getComputedStyle(summary).outlineStyle);
      assert.equal(outline, 'solid');
      await page.keyboard.press('Enter');
      assert.match(await fold.locator('.whole').textContent(), /^\/articles\/\d+(-and-so-on){9,}$/);
      assert.equal(await fold.locator('.whole').isVisible(), true);
    });
  },
  async 'rows are sorted, filtered and copied'() {
    await withPage(report('ordinary', [...ordinary, { url: '/=cmd' }, { url: '/zzz', agent: '=1+1' }]), { permissions: ['clipboard-read'] }, async (page) => {
      const head = page.locator('#requests .list > table th.i button');
      await head.click();
      const rows = await page.locator('#requests tbody tr').evaluateAll((list) => list.map((row) =>
        (row.querySelector('.whole') ?? row.querySelector('.i > *')).textContent));
      assert.deepEqual(rows, [...rows].sort((a, b) => a.localeCompare(b)));
      assert.equal(await page.locator('#requests th.i').first().getAttribute('aria-sort'), 'ascending');
      await head.click();
      assert.equal((await firstItems(page))[0], '/zzz');
      await page.locator('#requests input').fill('ZZZ');
      assert.deepEqual(await firstItems(page), ['/zzz']);
      assert.equal(await page.locator('#requests [role=status]').textContent(), '1 row found');
      await page.locator('#requests input').fill('');
      assert.equal(await page.locator('#requests tbody tr').count(), rows.length);
      await page.locator('#browsers input').fill('=1');
      await page.locator('#browsers .tools button').click();
      await page.locator('#browsers input').focus();
      await page.locator('#browsers input').fill('');
      await page.keyboard.press('Control+V');
      assert.match(await page.locator('#browsers input').inputValue(), /"?'=1\+1"?,1,/);
    });
  },
  async 'an index leads to its reports, whatever their names and titles'() {
    const odd = [...attacks.map((attack, i) => [`${attack.replaceAll(/[/\x1b]/g, '_').slice(0, 60)}${i}.html`, attack.replaceAll(/[;=]/g, '_')]),
      ['javascript:1.html', 'a'], ['%2e%2e?x#y&amp;.html', 'b'], ['sub"folder/<b>.html', 'c']];
    for (const [name, reports] of [['index-plain', [['a.html', 'A'], ['b/b.html', 'B']]], ['index-odd', odd], ['index-empty', []]]) {
      const address = index(name, reports);
      for (const options of [{}, { colorScheme: 'dark' }, phone]) {
        await withPage(address, options, async (page, seen) => {
          assert.deepEqual(seen.messages, [], name);
          assert.deepEqual(seen.requests, [page.url()], name);
          await page.evaluate(() => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
          assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= document.documentElement.clientWidth), `${name} is too wide`);
          assert.equal(await page.locator('th[scope=row]').count(), reports.length);
          const heights = await page.locator('th[scope=row] > a').evaluateAll((list) => list.map((link) => link.getBoundingClientRect().height));
          assert.ok(Math.max(...heights, 0) < 60, `${name}: days stand letter below letter`);
          assert.equal(await page.title(), 'Reports');
          const links = await page.locator('th[scope=row] a').evaluateAll((list) => list.map((link) => link.href));
          assert.deepEqual(links.map((link) => decodeURIComponent(link)).sort(),
            reports.map(([file]) => `file://${join(work, name, file)}`).sort());
        });
        await withPage(address, { ...options, bypassCSP: true }, async (page) => {
          await page.evaluate(axe);
          const { violations } = await page.evaluate(() => globalThis.axe.run());
          assert.deepEqual(violations.map((v) => [v.id, ...v.nodes.slice(0, 3).map((node) => node.html)]), [], name);
        });
      }
      await withPage(address, {}, async (page) => {
        for (const [file] of reports) {
          const path = file.split('/').map(encodeURIComponent).join('/').replaceAll(/[!'()*]/g, (c) => `%${c.charCodeAt(0).toString(16).toUpperCase()}`);
          await page.goto(address);
          await page.evaluate(() => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
          await page.locator(`a[href="${path}"]`).click();
          await page.waitForSelector('#overview');
        }
      });
    }
  },
  async 'the hours of the week are sorted by a weekday, and copied'() {
    await withPage(report('ordinary', ordinary), { permissions: ['clipboard-read'] }, async (page) => {
      const week = page.locator('#hoursofweek');
      await week.locator('.fold > summary').click();
      await week.getByRole('button', { name: 'Sun' }).click();
      const counts = (await texts(page, '#hoursofweek td.c:last-child')).map(Number);
      assert.equal(counts.reduce((sum, count) => sum + count, 0), ordinary.length);
      assert.deepEqual(counts, [...counts].sort((a, b) => b - a));
      await week.locator('.tools button').click();
      await page.locator('#browsers input').focus();
      await page.keyboard.press('Control+V');
      assert.match(await page.locator('#browsers input').inputValue(), /^Hour,Mon,Tue,Wed,Thu,Fri,Sat,Sun/);
    });
  },
  async 'weekdays and hours stand beside each other where there is room'() {
    const places = (page) => page.evaluate(() => ['hitsperdayofweek', 'hitsperhour'].map((id) => document.getElementById(id).getBoundingClientRect()));
    const address = report('ordinary', ordinary);
    await withPage(address, { viewport: { width: 1100, height: 800 } }, async (page) => {
      const [weekdays, hours] = await places(page);
      assert.ok(weekdays.top === hours.top && weekdays.right < hours.left);
    });
    await withPage(address, phone, async (page) => {
      const [weekdays, hours] = await places(page);
      assert.ok(weekdays.bottom <= hours.top && weekdays.left === hours.left);
    });
    await withPage(report('alone', ordinary, ['hitsperdayofweek=0']), { viewport: { width: 1100, height: 800 } }, async (page) => {
      const widths = await page.evaluate(() => ['hitsperhour', 'requests'].map((id) => document.getElementById(id).clientWidth));
      assert.equal(widths[0], widths[1]);
    });
  },
  async 'a phone shows the figures above its first fold, and the contents in one line'() {
    await withPage(report('ordinary', ordinary), phone, async (page) => {
      assert.ok((await page.locator('.tiles').boundingBox()).y < 400);
      assert.ok((await page.locator('nav').boundingBox()).height < 60);
      await page.locator('nav a').last().focus();
      assert.ok((await page.locator('nav a').last().boundingBox()).x < 390);
    });
  },
  async 'no markup of the administrator leads elsewhere'() {
    const header = '<p id=own>Ours</p><META http-equiv="refresh" content="0;url=about:blank"><script>document.title=1</script>';
    const address = report('extra', ordinary, [`extraheader=${header}`]);
    const html = readFileSync(new URL(address), 'utf8');
    assert.ok(html.includes('<x-META'));
    for (const [source, away] of [[html, false], [html.replace('<x-META', '<META'), true]]) {
      writeFileSync(new URL(address), source);
      await withPage(address, {}, async (page) => {
        await page.waitForTimeout(500);
        assert.equal(page.url() === 'about:blank', away);
        if (!away) {
          assert.equal(await page.locator('#own').isVisible(), true);
          assert.notEqual(await page.title(), '1');
        }
      });
    }
  },
  async 'paper has a line for each row, and each long text once'() {
    await withPage(report('ordinary', ordinary), { viewport: { width: 680, height: 1000 } }, async (page) => {
      await page.emulateMedia({ media: 'print' });
      const cell = page.locator('#requests td.i:has(.whole)').first();
      assert.deepEqual(await cell.evaluate((element) => [...element.children].map((child) => child.checkVisibility())), [false, true]);
      assert.equal(await page.locator('#requests .n').first().isVisible(), true);
      assert.ok((await page.locator('#hitsperhour tbody tr').first().boundingBox()).height < 22);
    });
  },
  async 'printing opens every fold'() {
    await withPage(report('ordinary', ordinary), { javaScriptEnabled: false }, async (page) => {
      const row = page.locator('#requests .fold tbody tr').first();
      assert.equal(await row.isVisible(), false);
      await page.emulateMedia({ media: 'print' });
      assert.equal(await row.evaluate((element) => element.checkVisibility({ contentVisibilityAuto: true })), true);
    });
  },
};

await runAll(tests, async () => {
  await browser.close();
  rmSync(work, { recursive: true });
});
