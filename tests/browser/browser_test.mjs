// What a person sees who opens an installed Orvellis in a browser; run by
// ../site/with_server.sh. BROWSER_PACKAGES names the folder with the npm packages,
// CHROMIUM the browser; with SCREENSHOTS, pictures are left in that folder.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { readFileSync, writeFileSync } from 'node:fs';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const axe = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const { BASE_URL, SERVER, WORK, PREFIX, SCREENSHOTS } = process.env;

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

async function fillIn(page, { password = 'Teapot', days = ['03', '05', '2000', '03', '11', '2000'] } = {}) {
  await page.goto(`${BASE_URL}/orvellis/`);
  await page.getByLabel('User account').fill(SERVER);
  await page.getByLabel('Password').fill(password);
  for (const [i, name] of ['sm', 'sd', 'sy', 'em', 'ed', 'ey'].entries()) {
    await page.locator(`input[name=${name}]`).fill(days[i]);
  }
}

async function request(page, details) {
  await fillIn(page, details);
  await Promise.all([page.waitForURL('**/orvellis-cgi/orvellis'), page.getByRole('button', { name: 'Request report' }).click()]);
  await page.waitForLoadState('load');
}

async function screenshot(page, name) {
  await page.screenshot({ path: `${SCREENSHOTS}/${name}.png` });
}

const tests = {
  async 'the filled-in form gives a report with pictures, bars and links'() {
    await withPage(desktop, async (page) => {
      await request(page);
      assert.equal(await page.title(), { apache: 'Apache', nginx: 'nginx', lighttpd: 'lighttpd' }[SERVER] + ' on this machine');
      const pictures = await page.locator('img').evaluateAll((list) => list.map((image) => ({
        src: image.getAttribute('src'), loaded: image.naturalWidth > 0, wanted: Number(image.getAttribute('width')),
        width: image.getBoundingClientRect().width })));
      assert.ok(pictures.length > 30, `${pictures.length} pictures`);
      assert.deepEqual(pictures.filter((picture) => !picture.loaded), []);
      const bars = pictures.filter((picture) => picture.src.endsWith('2x5.gif'));
      for (const bar of bars) {
        assert.ok(Math.abs(bar.width - bar.wanted) < 1, `a bar of ${bar.wanted} pixels is ${bar.width} wide`);
      }
      assert.equal(Math.max(...bars.map((bar) => bar.wanted)), 300);
      await page.locator('a[href="#hourly"]').first().click();
      assert.ok(page.url().endsWith('/orvellis-cgi/orvellis#hourly'));
      const top = await page.locator('[name=hourly]').first().evaluate((anchor) => anchor.getBoundingClientRect().top);
      assert.ok(top < 800, 'the link within the page does not lead to its section');
    });
  },
  async 'a wrong password shows error 2, a GET error 1'() {
    await withPage(desktop, async (page) => {
      await request(page, { password: 'wrong' });
      assert.match(await page.locator('h2').innerText(), /Error #2: Invalid user account/);
      assert.equal(await page.getByRole('link', { name: 'More about this error' }).count(), 1);
      await page.goto(`${BASE_URL}/orvellis-cgi/orvellis`);
      assert.match(await page.locator('h2').innerText(), /Error #1: No form data posted/);
      await page.getByRole('link', { name: 'request form' }).click();
      assert.match(await page.locator('h1').innerText(), /Report Request Form/);
    });
  },
  async 'the form works without scripts and by keyboard'() {
    await withPage({ ...desktop, javaScriptEnabled: false }, async (page) => {
      await fillIn(page);
      await page.getByLabel('Password').focus();
      await Promise.all([page.waitForURL('**/orvellis-cgi/orvellis'), page.keyboard.press('Enter')]);
      assert.match(await page.title(), /on this machine/);
    });
  },
  async 'the form warns where the password can be read on the way'() {
    await withPage(desktop, async (page, context) => {
      await context.route('http://reports.example/**', async (route) => route.fulfill({
        response: await route.fetch({ url: route.request().url().replace('http://reports.example', BASE_URL) }) }));
      for (const [site, warned] of [[BASE_URL, false], ['http://reports.example', true]]) {
        await page.goto(`${site}/orvellis/`);
        await page.locator('#shortcuts').waitFor();  // the script has run
        assert.equal(await page.locator('#insecure').isVisible(), warned, site);
      }
    });
  },
  async 'a page linked from a report is an ordinary one'() {
    writeFileSync(`${WORK}/log/${SERVER}/access.log.2`, '192.0.2.66 - - [21/Mar/2000:10:00:00 +0000] ' +
      '"GET /<a\fid=formlink\ftarget=_blank\fhref=/orvellis/>form</a> HTTP/1.0" 200 1 "-" "x"\n');
    for (const escapes of [true, false]) {
      await withPage(desktop, async (page, context) => {
        await context.route('**/orvellis-cgi/**', async (route) => {
          const answer = await route.fetch();
          const headers = answer.headers();
          if (!escapes) {
            headers['content-security-policy'] = headers['content-security-policy'].replace(' allow-popups-to-escape-sandbox', '');
          }
          return route.fulfill({ response: answer, headers });
        });
        await request(page, { days: ['03', '21', '2000', '03', '21', '2000'] });
        const [linked] = await Promise.all([context.waitForEvent('page'), page.locator('#formlink').first().click()]);
        await linked.waitForLoadState('load');
        await linked.waitForTimeout(500);
        assert.match(await linked.locator('h1').innerText(), /Report Request Form/);
        // The shortcuts are there when scripts run.
        assert.equal(await linked.locator('#shortcuts').isVisible(), escapes);
      });
    }
  },
  async 'shortcuts and calendars fill in the days'() {
    await withPage(desktop, async (page) => {
      await page.goto(`${BASE_URL}/orvellis/`);
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
      for (const path of ['/', '/docs/', '/docs/configuration.html', '/docs/log-formats.html', '/support/errors/']) {
        await page.goto(`${BASE_URL}/orvellis${path}`);
        assert.ok(await overhang() <= 0, `${path} is ${await overhang()} pixels too wide`);
      }
      await request(page);
      const scales = await page.locator('img[src$="2x5.gif"][width]').evaluateAll((bars) => bars.map((bar) => [
        Number(bar.getAttribute('width')), bar.getBoundingClientRect().width]));
      const scale = Math.max(...scales.map(([, width]) => width)) / 300;
      for (const [wanted, width] of scales) {
        assert.ok(Math.abs(width - wanted * scale) < 2, `a bar of ${wanted} pixels is ${width} wide, the longest ${300 * scale}`);
      }
      assert.ok(await overhang() <= 0, `the report is ${await overhang()} pixels too wide`);
    });
  },
  async 'form and documentation are accessible'() {
    for (const colorScheme of ['light', 'dark']) {
      // Runs beside the pages' own policy, as a browser extension would.
      await withPage({ ...desktop, colorScheme, bypassCSP: true }, async (page) => {
        for (const path of ['/', '/product.html', '/docs/', '/docs/getting-started.html', '/docs/parameters.html',
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
    const days = ['03', '20', '2000', '03', '20', '2000'];

    async function visit({ protectedPage }) {
      return withPage(desktop, async (page, context) => {
        const requests = [];  // those that leave the page: what its policy stops is not among them
        let dialogs = 0;
        page.on('dialog', (dialog) => { dialogs += 1; dialog.dismiss(); });
        await context.route('**/*', async (route) => {
          requests.push(route.request().url());
          if (new URL(route.request().url()).hostname === 'evil.test') {
            return route.abort();
          }
          if (!protectedPage && route.request().method() === 'POST') {
            const answer = await route.fetch();
            const headers = answer.headers();
            delete headers['content-security-policy'];
            return route.fulfill({ response: answer, headers });
          }
          return route.continue();
        });
        await request(page, { days });
        await page.waitForTimeout(1500);
        const seen = { evil: requests.filter((url) => url.includes('evil.test')) };
        if (protectedPage) {
          seen.title = await page.title();
          for (const id of ['#evillink', '#send']) {
            await page.locator(id).first().click({ force: true, noWaitAfter: true });
            await page.waitForTimeout(300);
          }
          Object.assign(seen, { dialogs, source: await page.content(), url: page.url(), pages: context.pages().length,
            foreign: requests.filter((url) => !url.startsWith(`${BASE_URL}/orvellis`)) });
        }
        return seen;
      });
    }

    // Without the header the attacks work: else this test would prove nothing.
    const open = await visit({ protectedPage: false });
    for (const what of ['refresh', 'frame', 'style.css', 'a.gif']) {
      assert.ok(open.evil.some((url) => url.includes(what)), `the attack with ${what} is harmless by itself: ${open.evil}`);
    }
    const shut = await visit({ protectedPage: true });
    assert.match(shut.source, /<title>[^<]* on this machine<[^]*<svg onload/);  // after the clicks, too
    assert.match(shut.title, /on this machine/);
    assert.equal(shut.url, `${BASE_URL}/orvellis-cgi/orvellis`);
    assert.equal(shut.dialogs, 0);
    assert.equal(shut.pages, 1);
    assert.deepEqual(shut.evil, []);
    assert.deepEqual(shut.foreign, []);
  },
};

if (SCREENSHOTS) {
  tests['form and report can be photographed'] = async () => {
    const config = `${PREFIX}/etc/orvellis/orvellis.conf`;
    const themed = readFileSync(config, 'utf8').replaceAll(/url=http:.*;title=.* on this machine/g,
      'url=http://www.example.com;title=One Week of www.example.com');
    for (const look of ['themed', 'plain', 'dark']) {
      writeFileSync(config, look === 'plain' ? themed.replace(/^ExtraHeader.*$/m, '') : themed);
      for (const [device, options] of Object.entries({ phone, desktop })) {
        await withPage({ ...options, colorScheme: look === 'dark' ? 'dark' : 'light' }, async (page) => {
          if (look !== 'plain') {
            await fillIn(page);
            await page.evaluate(() => scrollTo(0, 0));
            await screenshot(page, `form-${look}-${device}`);
          }
          await request(page);
          await screenshot(page, `report-${look}-${device}`);
          await page.evaluate(() => document.querySelector('[name=daily]').scrollIntoView());
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

let failed = 0;
for (const [name, test] of Object.entries(tests)) {
  try {
    await test();
    console.log(`passed: ${name}`);
  } catch (error) {
    failed += 1;
    console.log(`FAILED: ${name}\n${error.stack}`);
  }
}
await browser.close();
process.exit(failed === 0 ? 0 : 1);
