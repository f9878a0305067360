// Photographs a report and the request form as README.md shows them.
//
//   node pictures.mjs REPORT.html SITE FOLDER
//
// SITE is the folder that the build makes for a web server: the form, its style and its script.
//
// BROWSER_PACKAGES names the folder with the npm packages, CHROMIUM the browser.
import { createRequire } from 'node:module';
import { basename, join } from 'node:path';
import { pathToFileURL } from 'node:url';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const [report, site, folder] = process.argv.slice(2);

const phone = { viewport: { width: 390, height: 800 }, isMobile: true };
const pictures = {
  'report': { viewport: { width: 1100, height: 800 } },
  'report-phone': phone,
  'report-phone-dark': { ...phone, colorScheme: 'dark', at: '#requests' },
  'form': { viewport: { width: 800, height: 800 }, address: 'http://localhost/orvellis/index.html' },
};

const browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ['--no-sandbox', '--disable-gpu'] });
for (const [name, { at = '', address = pathToFileURL(report).href + at, ...options }] of Object.entries(pictures)) {
  const context = await browser.newContext({ deviceScaleFactor: 1, reducedMotion: 'reduce', ...options });
  await context.route('http://localhost/orvellis/*', (route) => route.fulfill({ path: join(site, basename(route.request().url())) }));
  const page = await context.newPage();
  await page.goto(address);
  await page.screenshot({ path: join(folder, `${name}.png`) });
  await context.close();
}
await browser.close();
