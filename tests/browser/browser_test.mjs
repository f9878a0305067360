// What a person sees who opens an installed Orvellis in a browser; run by
// ../site/with_server.sh. BROWSER_PACKAGES names the folder with the npm packages,
// CHROMIUM the browser; with SCREENSHOTS, pictures are left in that folder.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { readFileSync, writeFileSync } from 'node:fs';
import { runAll } from './run_all.mjs';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const axe = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const { BASE_URL, SERVER, WORK, PREFIX, SCREENSHOTS } = process.env;

const siteTitle = { apache: 'Apache', nginx: 'nginx', lighttpd: 'lighttpd' }[SERVER] + ' on this machine';
const configuration = `${PREFIX}/etc/orvellis/orvellis.conf`;

// The steps with the configuration changed; it is put back behind them.
async function withConfiguration(change, steps) {
  const kept = readFileSync(configuration, 'utf8');
  writeFileSync(configuration, change(kept));
  try {
    return await steps();
  } finally {
    writeFileSync(configuration, kept);
  }
}

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM,
  args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync'],
});
const phone = { viewport: { width: 390, height: 800 }, isMobile: true, deviceScaleFactor: 1 };
const desktop = { viewport: { width: 1100, height: 800 } };

async function withPage(options, steps) {
  const context = await browser.newContext(options);
  context.setDefaultTimeout(20000);
  try {
    return await steps(await context.newPage(), context);
  } finally {
    await context.close();
  }
}

async function fillIn(page, { password = 'Teapot', days = ['2000-03-05', '2000-03-11'] } = {}) {
  await page.goto(`${BASE_URL}/orvellis/`);
  await page.getByLabel('User account').fill(SERVER);
  await page.getByLabel('Password').fill(password);
  await page.getByRole('radio', { name: 'Choose days' }).check({ force: true });
  await page.getByLabel('First day').fill(days[0]);
  await page.getByLabel('Last day').fill(days[1]);
}

// The form of the classic edition, which the modern one takes as well.
async function fillInClassic(page, { days = ['2000-03-05', '2000-03-11'] } = {}) {
  await page.goto(`${BASE_URL}/orvellis/classic.html`);
  await page.getByLabel('User account').fill(SERVER);
  await page.getByLabel('Password').fill('Teapot');
  for (const [side, day] of Object.entries({ s: days[0], e: days[1] })) {
    const [year, month, date] = day.split('-');
    for (const [part, value] of Object.entries({ m: month, d: date, y: year })) {
      await page.locator(`input[name=${side}${part}]`).fill(value);
    }
  }
}

async function request(page, details) {
  await fillIn(page, details);
  await send(page);
}

async function send(page) {
  await Promise.all([page.waitForURL('**/orvellis-cgi/orvellis'), page.getByRole('button', { name: 'Request report' }).click()]);
  await page.waitForLoadState('load');
}

async function screenshot(page, name) {
  await page.screenshot({ path: `${SCREENSHOTS}/${name}.png` });
}

const tests = {
  async 'the filled-in form gives a report with figures, bars and links'() {
    await withPage(desktop, async (page) => {
      const complaints = [];
      await fillIn(page);
      page.on('console', (message) => complaints.push(message.text()));
      await send(page);
      assert.equal(await page.title(), `${siteTitle}: 2000-03-05 to 2000-03-11`);
      assert.deepEqual(complaints, []);
      assert.equal(await page.locator('#overview .figure').first().innerText(), '400');
      assert.equal(await page.locator('img').count(), 0);
      assert.ok(await page.locator('section').count() > 10);
      // The longest bar fills its place, the others are to scale.
      const bars = await page.locator('#requests .list > table tbody tr').evaluateAll((rows) => rows.map((row) => ({
        count: Number(row.querySelector('.c').textContent), room: row.querySelector('.share').getBoundingClientRect().width,
        width: row.querySelector('.share rect').getBoundingClientRect().width })));
      assert.equal(bars.length, 10);
      for (const { count, room, width } of bars) {
        assert.ok(room > 20 && Math.abs(width - room * count / bars[0].count) < 1, `the bar of ${count} is ${width} of ${room} wide`);
      }
      // Its own style and script run under the policy that the server sends.
      assert.ok(await page.locator('#requests .tools').isVisible());
      await page.locator('nav a[href="#hoursofweek"]').click();
      assert.ok(page.url().endsWith('/orvellis-cgi/orvellis#hoursofweek'));
      await page.waitForTimeout(600);
      const { top } = await page.locator('#hoursofweek').evaluate((section) => ({ top: section.getBoundingClientRect().top }));
      assert.ok(top < 800, 'the link within the page does not lead to its section');
    });
  },
  async 'a wrong password shows error 2 and leads to the form'() {
    await withPage(desktop, async (page) => {
      await request(page, { password: 'wrong' });
      assert.match(await page.locator('h1').innerText(), /^Orvellis Error #2: Invalid user account/);
      assert.equal(await page.getByRole('link', { name: 'More about this error' }).count(), 1);
      await page.getByRole('link', { name: 'request form' }).click();
      assert.match(await page.locator('h1').innerText(), /Report Request Form/);
      assert.ok(await page.getByLabel('User account').isVisible());
    });
  },
  async 'a bookmark leads to the form, which the password makes a report of'() {
    await withPage(desktop, async (page) => {
      await fillIn(page);
      await page.goto(await page.getByRole('link', { name: 'Link to this report' }).evaluate((link) => link.href));
      assert.match(page.url(), /\?username=/);
      assert.match(await page.locator('h1').innerText(), /Report Request Form/);
      assert.ok(await page.getByRole('button', { name: 'Choose all' }).isVisible());  // its script runs under its policy
      await page.getByLabel('Password').fill('Teapot');
      await page.getByRole('button', { name: 'Request report' }).click();
      await page.waitForURL(/orvellis-cgi\/orvellis\??$/);
      assert.equal(await page.title(), `${siteTitle}: 2000-03-05 to 2000-03-11`);
      assert.equal(await page.locator('#overview .figure').first().innerText(), '400');
    });
  },
  async 'the forms of both editions work without scripts and by keyboard'() {
    for (const fill of [fillIn, fillInClassic]) {
      await withPage({ ...desktop, javaScriptEnabled: false }, async (page) => {
        await fill(page);
        await page.getByLabel('Password').focus();
        await Promise.all([page.waitForURL('**/orvellis-cgi/orvellis'), page.keyboard.press('Enter')]);
        assert.match(await page.title(), /on this machine/);
      });
    }
  },
  async 'the forms warn where the password can be read on the way'() {
    await withPage(desktop, async (page, context) => {
      await context.route('http://reports.example/**', async (route) => route.fulfill({
        response: await route.fetch({ url: route.request().url().replace('http://reports.example', BASE_URL) }) }));
      for (const [site, warned] of [[BASE_URL, false], ['http://reports.example', true]]) {
        for (const [form, scripted] of [['', '.tools'], ['classic.html', '#shortcuts']]) {
          await page.goto(`${site}/orvellis/${form}`);
          await page.locator(scripted).waitFor();  // the script has run
          assert.equal(await page.locator('#insecure').isVisible(), warned, site);
        }
      }
    });
  },
  async 'a page linked from a report is an ordinary one'() {
    const link = 'ExtraHeader=<a id="formlink" target="_blank" href="/orvellis/">form</a>\n';
    for (const escapes of [true, false]) {
      await withConfiguration((text) => link + text, () => withPage(desktop, async (page, context) => {
        await context.route('**/orvellis-cgi/**', async (route) => {
          const answer = await route.fetch();
          const headers = answer.headers();
          if (!escapes) {
            headers['content-security-policy'] = headers['content-security-policy'].replace(' allow-popups-to-escape-sandbox', '');
          }
          return route.fulfill({ response: answer, headers });
        });
        await request(page);
        assert.equal(await page.evaluate(() => globalThis.origin), 'null');
        const [linked] = await Promise.all([context.waitForEvent('page'), page.locator('#formlink').click()]);
        await linked.waitForLoadState('load');
        assert.match(await linked.locator('h1').innerText(), /Report Request Form/);
        assert.equal(await linked.evaluate(() => globalThis.origin), escapes ? BASE_URL : 'null');
      }));
    }
  },
  async 'shortcuts and calendars of the classic form fill in the days'() {
    await withPage(desktop, async (page) => {
      await page.goto(`${BASE_URL}/orvellis/classic.html`);
      await page.getByLabel('First day: calendar').fill('2000-03-05');
      assert.equal(await page.locator('[name=sm]').inputValue() + await page.locator('[name=sd]').inputValue() +
        await page.locator('[name=sy]').inputValue(), '03052000');
      await page.getByRole('button', { name: 'Last 7 days' }).click();
      const day = (side) => page.getByLabel(`${side} day: calendar`).inputValue();
      assert.equal((new Date(await day('Last')) - new Date(await day('First'))) / 86400000, 6);
    });
  },
  async 'nothing is wider than a phone'() {
    await withPage(phone, async (page) => {
      const overhang = () => page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
      for (const path of ['/', '/classic.html', '/docs/', '/docs/configuration.html', '/docs/log-formats.html', '/support/errors/']) {
        await page.goto(`${BASE_URL}/orvellis${path}`);
        assert.ok(await overhang() <= 0, `${path} is ${await overhang()} pixels too wide`);
      }
      await request(page);
      assert.ok(await overhang() <= 0, `the report is ${await overhang()} pixels too wide`);
    });
  },
  async 'form and documentation are accessible'() {
    for (const colorScheme of ['light', 'dark']) {
      // Runs beside the pages' own policy, as a browser extension would.
      await withPage({ ...desktop, colorScheme, bypassCSP: true }, async (page) => {
        for (const path of ['/', '/classic.html', '/product.html', '/docs/', '/docs/getting-started.html', '/docs/parameters.html',
          '/docs/configuration.html', '/docs/chapter4.html', '/docs/security.html', '/support/errors/']) {
          await page.goto(`${BASE_URL}/orvellis${path}`);
          await page.evaluate(() => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
          await page.evaluate(axe);
          const { violations } = await page.evaluate(() => globalThis.axe.run());
          const serious = violations.filter((violation) => ['serious', 'critical'].includes(violation.impact));
          assert.deepEqual(serious.map((v) => [v.id, ...v.nodes.map((node) => node.html)]), [], `${path} (${colorScheme})`);
        }
      });
    }
  },
  async 'hostile logs run, fetch and navigate nothing'() {
    const lines = [];
    const hit = (url, referrer, agent, status = 200, host = '192.0.2.66') => lines.push(
      `${host} - - [20/Mar/2000:10:00:${String(lines.length).padStart(2, '0')} +0000] "GET ${url} HTTP/1.0" ${status} 1 "${referrer}" "${agent}"`);
    const attacks = [
      "<script>document.title='owned'</script>",
      "<img src=//evil.test/a.gif onerror=document.title='owned'>",
      "<svg onload=document.title='owned'>",
      '<meta http-equiv=refresh content=0;url=//evil.test/refresh>',
      '<iframe src=//evil.test/frame></iframe>',
      '<base href=//evil.test/base/>',
      '<link rel=stylesheet href=//evil.test/style.css>',
      '<form action=//evil.test/form><input type=submit id=send></form>',
      "<a id=evillink href=javascript:document.title='owned'>x</a>",
      '<object data=//evil.test/object></object>',
      "<body onload=document.title='owned'>",
    ];
    for (const [i, attack] of attacks.entries()) {
      // A blank would end the URL; a form feed divides attributes as well.
      const url = attack.replaceAll(' ', '\f');
      hit(`/u${i}>${url}`, `http://r${i}.example.com/>${attack}`, `Agent${i} ${attack}`);
      hit(`/b${i}>${url}`, `http://s${i}.example.com/>${attack}`, 'x', 404);
      hit('/', `http://www.altavista.com/query?q=p${i}${encodeURIComponent(attack)}`, 'x', 200, `h${i}.${url}.example.com`);
    }
    writeFileSync(`${WORK}/log/${SERVER}/access.log.2`, lines.join('\n') + '\n');
    const days = ['2000-03-20', '2000-03-20'];

    // What a visitor brings about; change may rewrite the report on its way to the browser.
    async function visit(change, clicks = [], fill = fillIn) {
      return withPage(desktop, async (page, context) => {
        const requests = [];  // those that leave the page: what its policy stops is not among them
        let dialogs = 0;
        page.on('dialog', (dialog) => { dialogs += 1; dialog.dismiss(); });
        await context.route('**/*', async (route) => {
          requests.push(route.request().url());
          if (new URL(route.request().url()).hostname === 'evil.test') {
            return route.abort();
          }
          if (change && route.request().method() === 'POST') {
            const answer = await route.fetch();
            return route.fulfill({ response: answer, ...change(answer.headers(), await answer.text()) });
          }
          return route.continue();
        });
        await fill(page, { days });
        await send(page);
        await page.waitForTimeout(1500);
        const seen = { evil: requests.filter((url) => url.includes('evil.test')), title: await page.title().catch(() => '') };
        for (const id of clicks) {
          await page.locator(id).first().click({ force: true, noWaitAfter: true });
          await page.waitForTimeout(300);
        }
        return Object.assign(seen, { dialogs, source: await page.content().catch(() => ''), url: page.url(),
          pages: context.pages().length, foreign: requests.filter((url) => !url.startsWith(`${BASE_URL}/orvellis`)),
          made: await page.evaluate(() => ['img', 'iframe', 'object', 'form', 'base', 'link', 'main script', 'main style', 'main meta',
            '#evillink'].filter((selector) => document.querySelector(selector))).catch(() => []) });
      });
    }
    const withoutPolicy = ({ 'content-security-policy': policy, ...headers }) => ({ headers });
    function harmless(shut) {
      assert.match(shut.title, /on this machine/);
      assert.equal(shut.url, `${BASE_URL}/orvellis-cgi/orvellis`);
      assert.equal(shut.dialogs, 0);
      assert.equal(shut.pages, 1);
      assert.deepEqual(shut.evil, []);
      assert.deepEqual(shut.foreign, []);
    }
    function harmful(working, open) {
      for (const what of working) {
        assert.ok(open.evil.some((url) => url.includes(what)), `the attack with ${what} is harmless by itself: ${open.evil}`);
      }
    }

    // The classic page prints them as they are. Without the server's header the attacks work: else this would prove nothing.
    await withConfiguration((text) => text.replace(/^Edition=.*$/m, 'Edition=classic'), async () => {
      harmful(['refresh', 'frame', 'style.css', 'a.gif'], await visit(withoutPolicy, [], fillInClassic));
      const shut = await visit(null, ['#evillink', '#send'], fillInClassic);
      harmless(shut);
      assert.match(shut.source, /<title>[^<]* on this machine<[^]*<svg onload/);  // after the clicks, too
    });

    // The modern page makes texts of them, whatever is sent with it.
    for (const change of [null, withoutPolicy]) {
      const shut = await visit(change);
      harmless(shut);
      assert.equal(shut.title, `${siteTitle}: 2000-03-20`);
      assert.deepEqual(shut.made, []);
      assert.match(shut.source, /&lt;svg/);
    }
    // Were they markup, and the page's own policy gone, the header alone would stop them: all but the refresh,
    // which no policy stops that lets a page run its own script.
    const markup = attacks.filter((attack) => !attack.includes('refresh')).map((attack) => `<div>${attack}</div>`).join('');
    const injected = (text) => text.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '').replace('<main>', `<main>${markup}`);
    harmful(['frame', 'style.css', 'a.gif'], await visit((headers, text) => ({ ...withoutPolicy(headers), body: injected(text) })));
    const stopped = await visit((headers, text) => ({ headers, body: injected(text) }), ['#evillink', '#send']);
    harmless(stopped);
    assert.ok(stopped.made.includes('iframe') && stopped.made.includes('form'), `nothing was injected: ${stopped.made}`);
  },
};

if (SCREENSHOTS) {
  tests['form and report can be photographed'] = async () => {
    const photographed = readFileSync(configuration, 'utf8').replaceAll(/url=http:.*;title=.* on this machine/g,
      'url=http://www.example.com;title=One Week of www.example.com');
    writeFileSync(configuration, photographed);
    for (const look of ['light', 'dark']) {
      for (const [device, options] of Object.entries({ phone, desktop })) {
        await withPage({ ...options, colorScheme: look }, async (page) => {
          await fillIn(page);
          await page.evaluate(() => scrollTo(0, 0));
          await screenshot(page, `form-${look}-${device}`);
          await request(page);
          await screenshot(page, `report-${look}-${device}`);
          await page.evaluate(() => document.querySelector('#dailytotals').scrollIntoView());
          await screenshot(page, `days-${look}-${device}`);
          await page.goto(`${BASE_URL}/orvellis/docs/chapter4.html`);
          await screenshot(page, `docs-${look}-${device}`);
          await request(page, { password: 'wrong' });
          await screenshot(page, `error-${look}-${device}`);
        });
      }
    }
  };
}

await runAll(tests, () => browser.close());
