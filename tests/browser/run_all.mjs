// Runs tests one after the other, a table of functions by what they show, and ends the
// process: with status 1 when one of them has failed. Before that, tidyUp.
export async function runAll(tests, tidyUp) {
  let failed = 0;
  for (const [name, test] of Object.entries(tests)) {
    const begun = Date.now();
    try {
      await test();
      console.log(`passed: ${name} (${Date.now() - begun} ms)`);
    } catch (error) {
      failed += 1;
      console.log(`FAILED: ${name}\n${String(error.stack).slice(0, 10000)}`);
    }
  }
  await tidyUp();
  process.exit(failed === 0 ? 0 : 1);
}
