// The request form as a visitor meets it, on the site and as the program's answer: by
// keyboard, on a phone, in the dark, to a reader of a screen, without a script; what it
// sends, and what it remembers. The test itself is the web server.
//
//   node form_test.mjs SHOW_FORM SITE
//
// BROWSER_PACKAGES names the folder with the npm packages, CHROMIUM the browser; with
// SCREENSHOTS, pictures are left in that folder.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { runAll } from './run_all.mjs';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const axe = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const [showForm, site] = process.argv.slice(2);
const origin = 'http://localhost';
const program = `${origin}/orvellis-cgi/orvellis`;

// ---- The web server ------------------------------------------------------------------

const sitePolicy = "default-src 'none'; img-src 'self'; style-src 'self'; script-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'";
const types = { html: 'text/html', css: 'text/css', js: 'text/javascript' };

function serveFile(path) {
  const name = path === '/orvellis/' ? 'index.html' : path.replace('/orvellis/', '');
  return { contentType: types[name.split('.').pop()], headers: { 'Content-Security-Policy': sitePolicy }, body: readFileSync(`${site}/${name}`) };
}

function answerForm(query) {
  const answer = execFileSync(showForm, [...new URLSearchParams(query)].map(([name, value]) => `${name}=${value}`)).toString();
  const end = answer.indexOf('\n\n');
  const headers = Object.fromEntries(answer.slice(0, end).split('\n').map((line) => line.split(/: (.*)/, 2)));
  return { headers, body: answer.slice(end + 2) };
}

async function serve(route, posted) {
  const request = route.request();
  const { pathname, search } = new URL(request.url());
  if (request.method() === 'POST') {
    posted.push(Object.fromEntries(new URLSearchParams(request.postData())));
    return route.fulfill({ contentType: 'text/html', body: '<title>posted</title>' });
  }
  if (pathname === '/orvellis-cgi/orvellis') {
    return route.fulfill(answerForm(search));
  }
  return pathname.startsWith('/orvellis/') ? route.fulfill(serveFile(pathname)) : route.fulfill({ status: 404 });
}

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM,
  args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking'],
});
const phone = { viewport: { width: 390, height: 800 }, isMobile: true, deviceScaleFactor: 1 };
const forms = { site: `${origin}/orvellis/`, program, 'filled in': `${program}?username=shop&from=2000-03-05&to=2000-03-11&output=csv&title=A+title` };

async function withPage(address, options, steps) {
  const context = await browser.newContext(options);
  context.setDefaultTimeout(10000);
  const posted = [];
  const complaints = [];
  await context.route('**/*', (route) => serve(route, posted));
  const page = await context.newPage();
  page.on('console', (message) => complaints.push(message.text()));
  page.on('pageerror', (error) => complaints.push(error.message));
  try {
    await page.goto(address);
    await steps(page, posted, context);
    assert.deepEqual(complaints.filter((text) => !text.includes('404')), []);
  } finally {
    await context.close();
  }
}

async function send(page) {
  await page.getByRole('button', { name: 'Request report' }).click();
  await untilPosted(page);
}

// Without scripts nothing can be waited for within the page.
async function untilPosted(page) {
  for (let i = 0; i < 100 && await page.title().catch(() => '') !== 'posted'; i += 1) {
    await page.waitForTimeout(100);
  }
  assert.equal(await page.title(), 'posted');
}

const option = (page, name) => page.getByRole('radio', { name, exact: true });
const firstSections = { dailytotals: '1', hoursofweek: '1', visitors: '1', requests: '1', entrypages: '1', referringsites: '1', badurls: '1',
  badurl_referrers: '1', servererrors: '1', statuses: '1', browserfamilies: '1', systems: '1', robots: '1' };
const classicSections = ['requests', 'referrers', 'search', 'browsers', 'badurls', 'badreferrers', 'badurl_referrers', 'domains', 'domaintypes',
  'dailytotals', 'hitsperdayofweek', 'hitsperhour', 'hoursofweek'];
const furtherSections = ['statuses', 'servererrors', 'hosts', 'users', 'vhosts', 'referringsites', 'directories', 'filetypes',
  'browserfamilies', 'systems', 'devices', 'robots',
  'visitors', 'entrypages', 'exitpages', 'countries', 'methods', 'protocols', 'tlsversions', 'slow',
  'redirects', 'sizes', 'unknown'];
const withoutEmpty = (fields) => Object.fromEntries(Object.entries(fields).filter(([, value]) => value !== ''));
const linkOf = async (page) => new URL(await page.getByRole('link', { name: 'Link to this report' }).evaluate((link) => link.href));

const tests = {
  async 'an account and its password are all that must be typed'() {
    for (const javaScriptEnabled of [true, false]) {
      for (const address of [forms.site, forms.program]) {
        await withPage(address, { javaScriptEnabled }, async (page, posted) => {
          await page.getByLabel('User account').fill('shop');
          await page.getByLabel('Password').fill('Teapot');
          await send(page);
          assert.deepEqual(posted.map(withoutEmpty),
            [{ username: 'shop', password: 'Teapot', days: '7d', find: '/', subdirs: '1', output: 'modern', anonymise: '1', pages_only: '1', ...firstSections }]);
          assert.equal(page.url().replace(/\?$/, ''), program);
        });
      }
    }
  },
  async 'the keyboard reaches everything in the order of the page'() {
    await withPage(forms.site, {}, async (page, posted) => {
      await page.getByLabel('User account').focus();
      await page.keyboard.type('shop');
      await page.keyboard.press('Tab');
      await page.keyboard.type('Teapot');
      await page.keyboard.press('Tab');
      await page.keyboard.press('ArrowRight');
      assert.ok(await option(page, 'Last 30 days').isChecked());
      const ring = await page.evaluate(() => getComputedStyle(document.activeElement.nextElementSibling).outlineStyle);
      assert.equal(ring, 'solid');
      const seen = [];
      for (let i = 0; i < 150; i += 1) {
        await page.keyboard.press('Tab');
        seen.push(await page.evaluate(() => document.activeElement.name || document.activeElement.id || document.activeElement.textContent));
      }
      const wanted = ['choose-all', 'choose-none', 'hoursofweek', 'requests', 'requests_top', 'requests_greater', 'output',
        'More: part of the site, which requests, what to leave out, order, title', 'remember', 'Request report', 'bookmark'];
      assert.deepEqual(seen.filter((name) => wanted.includes(name)).slice(0, wanted.length), wanted);
      await page.getByLabel('Password').focus();
      await page.keyboard.press('Enter');
      await untilPosted(page);
      assert.equal(posted[0].days, '30d');
    });
  },
  async 'nothing in focus is hidden by what stays in sight'() {
    await withPage(forms.site, { ...phone, reducedMotion: 'reduce' }, async (page) => {
      await page.getByLabel('User account').focus();
      for (let i = 0; i < 45; i += 1) {
        await page.keyboard.press('Tab');
        const hidden = await page.evaluate(() => {
          const { left, top, bottom, height } = document.activeElement.getBoundingClientRect();
          const bar = document.querySelector('.actions');
          return height > 0 && !bar.contains(document.activeElement) && document.activeElement.closest('form') &&
            bar.contains(document.elementFromPoint(left + 5, (top + bottom) / 2)) && document.activeElement.outerHTML;
        });
        assert.ok(!hidden, `behind the button: ${hidden}`);
      }
    });
  },
  async 'days are chosen in one way, and the days that are shown are those that count'() {
    await withPage(forms.site, {}, async (page, posted) => {
      assert.equal(await page.getByLabel('First day').isVisible(), false);
      await option(page, 'Choose days').check({ force: true });
      await page.getByLabel('User account').fill('shop');
      await page.getByRole('button', { name: 'Request report' }).click();
      assert.equal(await page.evaluate(() => document.activeElement.id), 'from');  // which is required now
      await page.getByLabel('First day').fill('2000-03-05');
      await page.getByLabel('Last day').fill('2000-03-11');
      await send(page);
      assert.deepEqual([posted[0].days, posted[0].from, posted[0].to], ['', '2000-03-05', '2000-03-11']);
    });
    await withPage(forms['filled in'], { javaScriptEnabled: false }, async (page) => {
      assert.ok(await option(page, 'Choose days').isChecked());
      assert.equal(await page.getByLabel('First day').inputValue(), '2000-03-05');
      assert.ok(await page.getByLabel('Last day').isVisible());
      assert.ok(await page.getByLabel('Sections of the CSV file').isVisible());
      assert.ok(await page.getByLabel('Title').isVisible());
      await option(page, 'JSON').check({ force: true });
      assert.equal(await page.getByLabel('Sections of the CSV file').isVisible(), false);
    });
  },
  async 'all sections or none are chosen at once'() {
    await withPage(forms.site, {}, async (page, posted) => {
      await page.getByLabel('User account').fill('shop');
      await page.getByRole('button', { name: 'Choose none' }).click();
      await page.getByLabel('Browsers', { exact: true }).check();
      await page.getByLabel('Browsers: top').fill('10%');
      await page.getByLabel('Browsers: at least').fill('2');
      await send(page);
      assert.deepEqual(withoutEmpty(posted[0]),
        { username: 'shop', days: '7d', browsers: '1', browsers_top: '10%', browsers_greater: '2', find: '/', subdirs: '1', output: 'modern', anonymise: '1', pages_only: '1' });
    });
    await withPage(forms.site, {}, async (page) => {
      await page.getByRole('button', { name: 'Choose none' }).click();
      assert.equal(await page.locator('table :checked').count(), 0);
      await page.getByRole('button', { name: 'Choose all' }).click();
      assert.equal(await page.locator('table :checked').count(), classicSections.length + furtherSections.length);
      for (const name of [...classicSections, ...furtherSections]) {
        assert.ok(await page.locator(`input[name="${name}"]`).isChecked(), name);
      }
    });
    await withPage(forms.site, { javaScriptEnabled: false }, async (page) => {
      for (const needsScript of ['Choose all', 'Choose none', 'Forget them']) {
        assert.equal(await page.getByRole('button', { name: needsScript }).count(), 0);
      }
      assert.equal(await page.getByLabel('Remember').isVisible(), false);
      assert.equal(await page.locator('#bookmark').isVisible(), false);
    });
  },
  async 'the link asks for what is filled in, without the password'() {
    await withPage(forms.site, {}, async (page) => {
      await page.getByLabel('User account').fill("O'Hara & sons");
      await page.getByLabel('Password').fill('Teapot');
      let link = await linkOf(page);
      assert.equal(link.origin + link.pathname, program);
      assert.deepEqual(Object.fromEntries(link.searchParams),
        { username: "O'Hara & sons", days: '7d', find: '/', subdirs: '1', output: 'modern', anonymise: '1', pages_only: '1', ...firstSections });
      await option(page, 'Choose days').check({ force: true });
      await page.getByLabel('First day').fill('2000-03-05');
      await page.getByRole('button', { name: 'Choose none' }).click();
      link = await linkOf(page);
      assert.deepEqual(Object.fromEntries(link.searchParams),
        { username: "O'Hara & sons", from: '2000-03-05', find: '/', subdirs: '1', output: 'modern', anonymise: '1', pages_only: '1' });
      assert.doesNotMatch(link.href, /Teapot|password/i);
      // It leads back to the same.
      await page.goto(link.href);
      assert.equal(await page.getByLabel('User account').inputValue(), "O'Hara & sons");
      assert.equal(await page.getByLabel('First day').inputValue(), '2000-03-05');
      assert.equal(await page.getByLabel('Password').inputValue(), '');
    });
  },
  async 'choices are remembered when that is wanted, and the password never'() {
    await withPage(forms.site, {}, async (page, posted, context) => {
      const stored = () => page.evaluate(() => JSON.stringify({ ...localStorage }));
      const fillIn = async () => {
        await page.getByLabel('User account').fill('shop');
        await page.getByLabel('Password').fill('Teapot');
        await option(page, 'This month').check({ force: true });
        await page.getByLabel('Requests by hour', { exact: true }).uncheck();
        await page.locator('summary').click();
        await page.getByLabel('Title').fill('Remembered');
      };
      const isFilledIn = async () => await page.getByLabel('User account').inputValue() === 'shop' &&
        await option(page, 'This month').isChecked() && !(await page.getByLabel('Requests by hour', { exact: true }).isChecked()) &&
        await page.getByLabel('Title').isVisible() && await page.getByLabel('Title').inputValue() === 'Remembered';
      await fillIn();
      await send(page);
      assert.equal(await stored(), '{}');
      await page.goto(forms.site);
      assert.equal(await isFilledIn(), false);

      await fillIn();
      await page.getByLabel('Remember these choices').check();
      await send(page);
      assert.equal(posted.length, 2);
      assert.deepEqual(posted[1], posted[0]);
      assert.match(await stored(), /Remembered/);
      assert.doesNotMatch(await stored(), /Teapot|password/i);
      for (const address of [forms.site, forms.program]) {
        await page.goto(address);
        assert.ok(await isFilledIn(), address);
        assert.equal(await page.getByLabel('Password').inputValue(), '');
        assert.equal((await linkOf(page)).searchParams.get('days'), 'this-month');
      }
      // What an address asks for is not put aside for it.
      await page.goto(forms['filled in']);
      assert.equal(await page.getByLabel('Title').inputValue(), 'A title');
      assert.ok(await option(page, 'Choose days').isChecked());

      await page.getByRole('button', { name: 'Forget them' }).click();
      assert.equal(await stored(), '{}');
      await page.goto(forms.site);
      assert.equal(await page.getByLabel('User account').inputValue(), '');
      assert.equal(await page.getByLabel('Remember these choices').isChecked(), false);
      assert.equal(await page.getByRole('button', { name: 'Forget them' }).count(), 0);

      // Whatever stands there, the form opens.
      for (const text of ['{', '7', '[7,null]', '[["days","no-such-days"],["output",{}],["find",7]]']) {
        await page.evaluate((value) => localStorage.setItem('orvellis-request', value), text);
        await page.goto(forms.site);
        assert.ok(await option(page, 'Last 7 days').isChecked(), text);
        assert.ok(await page.getByRole('button', { name: 'Choose all' }).isVisible(), text);
      }
      assert.equal((await context.cookies()).length, 0);
    });
  },
  async 'the form works where a browser remembers nothing'() {
    const context = await browser.newContext();
    await context.addInitScript(() => Object.defineProperty(window, 'localStorage', { get() { throw new DOMException('no', 'SecurityError'); } }));
    await context.route('**/*', (route) => serve(route, []));
    const page = await context.newPage();
    await page.goto(forms.site);
    assert.equal(await page.getByLabel('Remember').isVisible(), false);
    assert.equal((await linkOf(page)).searchParams.get('days'), '7d');
    await context.close();
  },
  async 'the form warns where the password can be read on the way'() {
    for (const [address, warned] of [[forms.site, false], ['http://reports.example/orvellis/', true], ['http://reports.example/orvellis-cgi/orvellis', true]]) {
      await withPage(address, {}, async (page) => {
        await page.getByRole('button', { name: 'Choose all' }).waitFor();  // the script has run
        assert.equal(await page.getByRole('alert').isVisible(), warned, address);
      });
    }
  },
  async 'what was typed into an address stays text'() {
    const attack = '"><img src=x onerror="document.title=\'owned\'">';
    const query = new URLSearchParams(['username', 'days', 'from', 'to', 'find', 'title', 'output', 'section', 'authuser', 'requests_top'].map((name) => [name, attack]));
    await withPage(`${program}?${query}`, {}, async (page) => {
      assert.equal(await page.locator('img').count(), 0);
      assert.equal(await page.getByLabel('User account').inputValue(), attack);
      assert.equal(await page.getByRole('textbox', { name: 'Title' }).inputValue(), attack);
      assert.notEqual(await page.title(), 'owned');
    });
  },
  async 'what is not of the page cannot run, and could without its policy'() {
    const attack = "<main><img src=x onerror=\"document.title='owned'\"><script>document.title='owned'</script>";
    for (const owned of [false, true]) {
      const context = await browser.newContext();
      await context.route('**/*', (route) => {
        const answer = answerForm('');
        answer.body = answer.body.replace('<main>', attack);
        if (owned) {
          delete answer.headers['Content-Security-Policy'];
          answer.body = answer.body.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '');
        }
        return route.fulfill(answer);
      });
      const page = await context.newPage();
      await page.goto(program);
      await page.getByRole('button', { name: 'Choose all' }).waitFor();
      assert.equal(await page.title(), owned ? 'owned' : 'Orvellis: Report Request Form');
      await context.close();
    }
  },
  async 'nothing is wider than a phone, or than a large print'() {
    const long = new URLSearchParams({ username: 'w'.repeat(99), days: 'w'.repeat(243), output: 'w'.repeat(243), section: 'w'.repeat(243), from: 'w'.repeat(243) });
    for (const address of [...Object.values(forms), `${program}?${long}`]) {
      for (const width of [320, 390]) {
        await withPage(address, { ...phone, viewport: { width, height: 700 } }, async (page) => {
          await page.evaluate(() => { document.querySelector('details').open = true; });
          assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth), `${address} at ${width}`);
        });
      }
    }
  },
  async 'everything can be told apart, and told'() {
    for (const [name, address] of Object.entries(forms)) {
      for (const options of [{ colorScheme: 'light' }, { colorScheme: 'dark' }, { ...phone, colorScheme: 'dark' }]) {
        await withPage(address, { ...options, bypassCSP: true }, async (page) => {
          await page.evaluate(() => { document.querySelector('details').open = true; });
          await option(page, 'Choose days').check({ force: true });
          await page.evaluate(axe);
          const { violations } = await page.evaluate(() => globalThis.axe.run());
          assert.deepEqual(violations.map((v) => [v.id, ...v.nodes.map((node) => node.html)]), [], `${name} ${JSON.stringify(options)}`);
        });
      }
    }
  },
};

if (process.env.SCREENSHOTS) {
  tests['the form can be photographed'] = async () => {
    const looks = { light: {}, dark: { colorScheme: 'dark' }, phone, 'phone-dark': { ...phone, colorScheme: 'dark' }, 'no-script': { javaScriptEnabled: false } };
    for (const [name, address] of Object.entries(forms)) {
      for (const [look, options] of Object.entries(looks)) {
        await withPage(address, { viewport: { width: 1100, height: 800 }, ...options }, async (page) => {
          await page.screenshot({ path: `${process.env.SCREENSHOTS}/${name.replace(' ', '-')}-${look}.png` });
        });
      }
    }
  };
}

await runAll(tests, () => browser.close());
