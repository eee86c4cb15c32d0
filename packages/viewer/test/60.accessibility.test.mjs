import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { openPage, reportOf, sliceShown, withoutBrowser } from './browser.mjs';
import { smallPart } from './parts.mjs';

const axe = readFileSync(fileURLToPath(import.meta.resolve('axe-core')), 'utf8');

const source = () => smallPart({ warnings: ['Layer 3 has a hole.'] });

for (const [name, options] of [
  ['light', { colorScheme: 'light' }],
  ['dark', { colorScheme: 'dark' }],
  ['narrow', { viewport: { width: 390, height: 800 } }],
]) {
  test(`people who see or hear it differently can use it: ${name}`, {
    skip: withoutBrowser,
  }, async (t) => {
    const { page } = await openPage(t, await reportOf(source()), options);
    await sliceShown(page, 4);
    await page.evaluate(axe);
    for (const tab of ['Findings', 'Points', 'Settings']) {
      await page.getByRole('tab', { name: new RegExp(`^${tab}`) }).click();
      const { violations } = await page.evaluate(() => globalThis.axe.run());
      const told = violations.flatMap(({ id, nodes }) =>
        nodes.map(({ target, failureSummary }) => `${id} ${target}: ${failureSummary}`),
      );
      assert.deepEqual(told, [], tab);
    }
  });
}
