// What the page saves is what the command writes.
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { stiltforge } from '../../cli/test/harness.mjs';
import { binaryStl, footAndIsland, obj, table, threeMf } from '../../cli/test/meshes.mjs';
import { goo, nanoDlp, sl1 } from '../../cli/test/prints.mjs';
import { rabbit } from './rabbit.mjs';
import {
  assertAccessible,
  give,
  giveAll,
  openStiltforge,
  resultShown,
  saved,
  withoutBrowser as skip,
  temporaryFile,
} from './stiltforge_page.mjs';

const files = ['points.csv', 'supports.json', 'part.3mf', 'report.html'];

/** Fills a setting by its label. */
const fill = (label, value) => (page) => page.getByLabel(label, { exact: true }).fill(value);
const choose = (label, value) => (page) =>
  page.getByLabel(label, { exact: true }).selectOption(value);
const unfold = async (page) => {
  for (const summary of await page.locator('summary').all()) await summary.click();
};

for (const [what, name, content, words, steps] of [
  ['the settings as they are', 'table.stl', binaryStl(table()), [], []],
  [
    'a rabbit with settings of the part',
    'rabbit.obj',
    obj(rabbit()),
    ['--up', 'y', '--height', '15', '--rotate', '0,-20,12.5', '--center', '--lift', '3'],
    [
      unfold,
      choose('Up in the file', 'y'),
      fill('Height', '15'),
      fill('Turn about y', '-20'),
      fill('Turn about z', '12.5'),
      fill('Lift off the plate', '3'),
      (page) => page.getByLabel('Move to the origin').check(),
    ],
  ],
  [
    'settings of the printer and of the supports',
    'table.3mf',
    threeMf(table()),
    [
      ...['--scale', '2', '--preset', '6k-196x122', '--layer-height', '0.03'],
      ...['--preset', 'brittle', '--critical-angle', '50', '--inset', '0.3'],
      ...['--min-height', '0.5', '--min-spacing', '1.5'],
    ],
    [
      unfold,
      fill('Scale', '2'),
      choose('Screen', '6k-196x122'),
      fill('Layer height', '0.03'),
      choose('Resin', 'brittle'),
      fill('Overhang angle', '50'),
      fill('Off the contour', '0.3'),
      fill('Least height', '0.5'),
      fill('Least spacing', '1.5'),
    ],
  ],
]) {
  test(`the same files as the command writes: ${what}`, { skip }, async (t) => {
    const { folder } = temporaryFile(t, name, content);
    const wanted = ['--no-pictures', '-q', '--report', '--format', 'json,csv,3mf'];
    const run = await stiltforge([name, ...wanted, ...words, '--out', 'out'], { cwd: folder });
    assert.equal(run.code, 0, run.err);

    const { page } = await openStiltforge(t);
    for (const step of steps) await step(page);
    await give(page, name, content);
    await resultShown(page, name);
    for (const file of files) {
      const download = await saved(page, file);
      assert.equal(download.name, `${name.replace(/\.\w+$/, '')}-${file}`);
      const written = await readFile(join(folder, 'out', file));
      assert.ok(download.bytes.equals(written), `${file} is another one`);
    }
  });
}

test('the same supports as geometry, and the part with them', { skip }, async (t) => {
  const [name, content] = ['table.stl', binaryStl(table())];
  const { folder } = temporaryFile(t, name, content);
  const words = ['--scale', '3', '--lift', '4', '--tip-diameter', '0.6', '--raft', '1'];
  const run = await stiltforge(
    [name, ...words, '--no-pictures', '-q', '--format', 'stl', '--merge', '--out', 'out'],
    { cwd: folder },
  );
  assert.equal(run.code, 0, run.err);

  const { page, complaints } = await openStiltforge(t);
  await unfold(page);
  for (const [label, value] of [
    ['Scale', '3'],
    ['Lift off the plate', '4'],
    ['Tip, across', '0.6'],
    ['Raft, thick', '1'],
  ]) {
    await fill(label, value)(page);
  }
  await give(page, name, content);
  await resultShown(page, name);
  for (const file of ['supports.stl', 'part_with_supports.stl']) {
    const { bytes } = await saved(page, file);
    assert.ok(bytes.equals(await readFile(join(folder, 'out', file))), `${file} is another one`);
  }
  assert.deepEqual(complaints, []);
});

test('several meshes and their copies are one plate, as the command makes it', {
  skip,
}, async (t) => {
  const meshes = { 'table.stl': binaryStl(table()), 'island.stl': binaryStl(footAndIsland()) };
  const { folder } = temporaryFile(t, 'table.stl', meshes['table.stl']);
  writeFileSync(join(folder, 'island.stl'), meshes['island.stl']);
  const words = ['--plate', '--copies', '2', '--gap', '3', '--layer-height', '0.1'];
  const run = await stiltforge(
    [...Object.keys(meshes), ...words, '--no-pictures', '-q', '--report', '--out', 'out'],
    { cwd: folder },
  );
  assert.equal(run.code, 0, run.err);

  const { page, complaints } = await openStiltforge(t);
  await unfold(page);
  await fill('Copies', '2')(page);
  await fill('Gap between parts', '3')(page);
  await fill('Layer height', '0.1')(page);
  await giveAll(page, meshes);
  await resultShown(page, 'table.stl, island.stl');
  assert.equal(await page.getByRole('button', { name: 'Orientation' }).count(), 0);
  for (const file of ['points.csv', 'supports.json', 'report.html']) {
    const download = await saved(page, file);
    assert.equal(download.name, `plate-${file}`);
    const written = await readFile(join(folder, 'out', file));
    assert.ok(download.bytes.equals(written), `${file} is another one`);
  }
  assert.deepEqual(complaints, []);
});

test('the same orientations, and the part turned by one of them', { skip }, async (t) => {
  const [name, content] = ['table.stl', binaryStl(table())];
  const { folder } = temporaryFile(t, name, content);
  const coarse = ['--pixel-size', '0.2', '--layer-height', '0.2', '--no-pictures'];
  const command = async (...words) => {
    const run = await stiltforge([...words, ...coarse, '-q'], { cwd: folder });
    assert.equal(run.code, 0, run.err);
  };
  const wishes = ['--prefer', 'low', '--keep-clean', 'top'];
  await command('orient', name, '--height', '9', ...wishes, '--out', 'out');

  const { page, complaints } = await openStiltforge(t);
  await fill('Height', '9')(page);
  await fill('Pixel size', '0.2')(page);
  await fill('Layer height', '0.2')(page);
  await give(page, name, content);
  await resultShown(page, name);
  await page.getByRole('button', { name: 'Orientation' }).click();
  await choose('Prefer', 'low')(page);
  await choose('Side to keep clean', 'top')(page);
  await page.getByRole('button', { name: 'Search' }).click();
  await page.getByText(/orientations tried$/).waitFor();
  await assertAccessible(page, 'orientations');
  for (const file of ['oriented.stl', 'orientations.json']) {
    const { bytes } = await saved(page, file);
    assert.ok(bytes.equals(await readFile(join(folder, 'out', file))), `${file} is another one`);
  }

  await page.getByRole('row', { name: /^2 / }).getByRole('button').click();
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
  await resultShown(page, name);
  await page.getByRole('button', { name: 'Orientation' }).click();
  await page.getByRole('row', { name: /^2 / }).getByText('Stands so').waitFor();
  await page.keyboard.press('Escape');
  await page.getByRole('button', { name: 'Settings', exact: true }).click();
  const setting = (label) => page.getByLabel(label, { exact: true }).inputValue();
  const turn = [];
  for (const axis of 'xyz') turn.push((await setting(`Turn about ${axis}`)) || '0');
  assert.equal(await setting('Height'), '');
  assert.equal(await setting('Scale'), '2');
  const { best } = JSON.parse(await readFile(join(folder, 'out', 'orientations.json'), 'utf8'));
  const rounded = best[1].turn.map((degrees) => String(Number(degrees.toFixed(3))));
  assert.deepEqual(turn, rounded);
  await page.keyboard.press('Escape');
  await command(name, '--rotate', turn.join(), '--scale', '2', '--out', 'turned');
  const { bytes } = await saved(page, 'points.csv');
  assert.ok(bytes.equals(await readFile(join(folder, 'turned', 'points.csv'))));
  assert.deepEqual(complaints, []);
});

for (const [name, content] of [
  ['table.sl1', sl1()],
  ['table.nanodlp', nanoDlp()],
  ['table.goo', goo()],
]) {
  test(`... also of a file for a printer: ${name}`, { skip }, async (t) => {
    const { folder } = temporaryFile(t, name, content);
    const run = await stiltforge([name, '--no-pictures', '-q', '--report', '--out', 'out'], {
      cwd: folder,
    });
    assert.equal(run.code, 0, run.err);
    const { page } = await openStiltforge(t);
    await give(page, name, content);
    await resultShown(page, name);
    for (const file of ['part.3mf', 'supports.stl', 'part_with_supports.stl']) {
      assert.equal(await page.getByRole('button', { name: file }).count(), 0);
    }
    for (const file of ['points.csv', 'supports.json', 'report.html']) {
      const { bytes } = await saved(page, file);
      assert.ok(bytes.equals(await readFile(join(folder, 'out', file))), `${file} is another one`);
    }
  });
}
