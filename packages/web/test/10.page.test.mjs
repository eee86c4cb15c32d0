import assert from 'node:assert/strict';
import { readFileSync, statSync } from 'node:fs';
import { createServer } from 'node:http';
import { join } from 'node:path';
import { test } from 'node:test';
import { binaryStl, footAndIsland, table } from '../../cli/test/meshes.mjs';
import { rabbit } from './rabbit.mjs';
import {
  assertAccessible,
  give,
  openStiltforge,
  pageFile,
  pictureFolder,
  resultShown,
  sceneDrawn,
  withoutBrowser as skip,
  sliceShown,
} from './stiltforge_page.mjs';

const tableStl = binaryStl(table());

test('a mesh gives its part, its points and what is to be said of them', { skip }, async (t) => {
  const { page, complaints } = await openStiltforge(t);
  await give(page, 'island.stl', binaryStl(footAndIsland()));
  await resultShown(page, 'island.stl');
  assert.equal(await page.title(), 'island.stl: supports');
  await page.getByText('All islands are held').waitFor();
  await page.getByRole('tab', { name: /^Points/ }).click();
  await page
    .getByRole('button', { name: /begins here in the air/ })
    .first()
    .waitFor();
  await page.keyboard.press('Home');
  await sliceShown(page, 0);
  assert.deepEqual(complaints, []);
});

test('the page is one file of about 2 MB', () => {
  assert.ok(statSync(pageFile).size < 2.2e6);
});

test('nothing leaves the machine: no request after the page is loaded', { skip }, async (t) => {
  const { page, asked } = await openStiltforge(t);
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  assert.deepEqual(asked, []);
  const isRefused = await page.evaluate(() =>
    fetch('https://example.org/').then(
      () => false,
      () => true,
    ),
  );
  assert.ok(isRefused, 'the policy of the page forbids it');
});

test('... its worker may ask for nothing either', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  const answer = await page.evaluate(
    () =>
      new Promise((resolve) => {
        const code = `fetch('https://example.org/').then(() => postMessage('came'), () => postMessage('refused'))`;
        const worker = new Worker(URL.createObjectURL(new Blob([code])));
        worker.onmessage = ({ data }) => resolve(data);
        worker.onerror = () => resolve('refused');
      }),
  );
  assert.equal(answer, 'refused');
});

test('settings count: half the height, half the layers', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByLabel('Height', { exact: true }).fill('2');
  await page.getByLabel('Layer height').fill('0.1');
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  await page.keyboard.press('End');
  await sliceShown(page, 19);
  await page.getByRole('button', { name: 'Settings', exact: true }).click();
  const dialog = page.getByRole('dialog', { name: 'Settings' });
  assert.equal(await dialog.getByLabel('Height', { exact: true }).inputValue(), '2');
  await dialog.getByLabel('Height', { exact: true }).fill('1');
  await dialog.getByRole('button', { name: 'Analyse again' }).click();
  await resultShown(page, 'table.stl');
  await page.keyboard.press('End');
  await sliceShown(page, 9);
});

test('a second part takes the place of the first, keys and all', { skip }, async (t) => {
  const { page, complaints } = await openStiltforge(t);
  await give(page, 'first.stl', tableStl);
  await resultShown(page, 'first.stl');
  await give(page, 'second.stl', binaryStl(footAndIsland()));
  await resultShown(page, 'second.stl');
  assert.equal(await page.getByRole('heading', { name: 'first.stl' }).count(), 0);
  await page.keyboard.press('Home');
  await page.keyboard.press('ArrowRight');
  await sliceShown(page, 1);
  assert.deepEqual(complaints, []);
});

test('a rabbit, by keys alone, light and dark, wide and narrow', { skip }, async (t) => {
  for (const [name, options] of [
    ['wide_light', {}],
    ['wide_dark', { colorScheme: 'dark' }],
    ['narrow_light', { viewport: { width: 390, height: 800 }, hasTouch: true }],
    ['narrow_dark', { viewport: { width: 390, height: 800 }, colorScheme: 'dark' }],
  ]) {
    const { page } = await openStiltforge(t, options);
    const picture = (state) =>
      page.screenshot({ path: join(pictureFolder, `${name}_${state}.png`), fullPage: true });
    await picture('start');
    await assertAccessible(page, `${name}, start`);
    await page.getByText('Units, axis, place').focus();
    await page.keyboard.press('Enter');
    await page.getByLabel('Up in the file').focus();
    await page.keyboard.press('y');
    await page.getByLabel('Height', { exact: true }).focus();
    await page.keyboard.type('15');
    await page.getByLabel('Layer height').fill('0.1');
    // The button opens the browser's own choice of a file.
    const [chooser] = await Promise.all([
      page.waitForEvent('filechooser'),
      page.getByRole('button', { name: 'Choose a file' }).press('Enter'),
    ]);
    await chooser.setFiles({
      name: 'rabbit.stl',
      mimeType: 'model/stl',
      buffer: binaryStl(rabbit()),
    });
    await resultShown(page, 'rabbit.stl');
    const { scroll, inner } = await page.evaluate(() => ({
      scroll: document.documentElement.scrollWidth,
      inner: innerWidth,
    }));
    assert.ok(scroll <= inner, `${name}: ${scroll} pixels of ${inner}`);
    await assertAccessible(page, `${name}, result`);
    await sceneDrawn(page);
    await picture('result');
    await page.getByRole('button', { name: 'Settings', exact: true }).press('Enter');
    await assertAccessible(page, `${name}, settings`);
    await picture('settings');
    await page.keyboard.press('Escape');
    await page.getByRole('dialog').waitFor({ state: 'hidden' });
    await page.close();
  }
});

test('a web server may give it, too', { skip }, async (t) => {
  const server = createServer((_, answer) => {
    answer.setHeader('Content-Type', 'text/html');
    answer.end(readFileSync(pageFile));
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => server.close());
  const { page, asked, complaints } = await openStiltforge(t);
  const address = `http://127.0.0.1:${server.address().port}/`;
  await page.goto(address);
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  assert.deepEqual(asked, [address]);
  assert.deepEqual(complaints, []);
});
