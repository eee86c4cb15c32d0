// The built page in Debian's Chromium, opened from disk.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { openFile } from '../../viewer/test/browser.mjs';

export { sceneDrawn, sliceShown, withoutBrowser } from '../../viewer/test/browser.mjs';

export const pageFile = fileURLToPath(new URL('../dist/stiltforge.html', import.meta.url));

/** Where pictures of the page are left to be looked at. */
export const pictureFolder = join(tmpdir(), 'stiltforge-web');
mkdirSync(pictureFolder, { recursive: true });

export async function openStiltforge(t, options) {
  const opened = await openFile(t, pageFile, options);
  await opened.page.getByRole('heading', { name: 'Drop a part here' }).waitFor();
  return opened;
}

/** Hands the page a file as a person's choice. */
export async function give(page, name, content) {
  await giveAll(page, { [name]: content });
}

/** The same of several: their names and contents. */
export async function giveAll(page, files) {
  await page.locator('input[type=file]').setInputFiles(
    Object.entries(files).map(([name, content]) => ({
      name,
      mimeType: 'application/octet-stream',
      buffer: Buffer.from(content),
    })),
  );
}

/** Fails with what the page tells when there is no result. */
export async function resultShown(page, name) {
  const result = page.getByRole('heading', { name, exact: true, level: 1 });
  const failure = page.locator('.part[data-state=fail]');
  await result.or(failure).waitFor();
  if (await failure.isVisible()) assert.fail(await failure.innerText());
}

export const told = (page) => page.getByRole('alert').textContent();

/** The name and the bytes of what a button of "Save" gives. */
export async function saved(page, file) {
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    page.getByRole('button', { name: file, exact: true }).click(),
  ]);
  return { name: download.suggestedFilename(), bytes: await readFile(await download.path()) };
}

export function temporaryFile(t, name, content) {
  const folder = mkdtempSync(join(tmpdir(), 'stiltforge-web-'));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  writeFileSync(join(folder, name), content);
  return { folder, path: join(folder, name) };
}

const axeText = readFile(fileURLToPath(import.meta.resolve('axe-core')), 'utf8');

/** What makes the page hard for people who see or hear it differently. */
export async function assertAccessible(page, state) {
  if (!(await page.evaluate(() => 'axe' in globalThis))) await page.evaluate(await axeText);
  const { violations } = await page.evaluate(() => globalThis.axe.run());
  const found = violations.flatMap(({ id, nodes }) =>
    nodes.map(({ target, failureSummary }) => `${id} ${target}: ${failureSummary}`),
  );
  assert.deepEqual(found, [], state);
}
