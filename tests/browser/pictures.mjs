// Photographs a report as README.md shows it.
//
//   node pictures.mjs REPORT.html FOLDER
//
// BROWSER_PACKAGES names the folder with the npm packages, CHROMIUM the browser.
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';

const require = createRequire(`${process.env.BROWSER_PACKAGES}/package.json`);
const { chromium } = require('playwright-core');
const [report, folder] = process.argv.slice(2);

const phone = { viewport: { width: 390, height: 800 }, isMobile: true };
const pictures = {
  'report': { viewport: { width: 1100, height: 800 } },
  'report-phone': phone,
  'report-phone-dark': { ...phone, colorScheme: 'dark', at: '#requests' },
};

const browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ['--no-sandbox', '--disable-gpu'] });
for (const [name, { at, ...options }] of Object.entries(pictures)) {
  const context = await browser.newContext({ deviceScaleFactor: 1, reducedMotion: 'reduce', ...options });
  const page = await context.newPage();
  await page.goto(pathToFileURL(report).href + (at ?? ''));
  await page.screenshot({ path: join(folder, `${name}.png`) });
  await context.close();
}
await browser.close();
