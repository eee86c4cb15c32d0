// What can't be analysed is told in a sentence, and the page goes on.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { png, screen, sl1 } from '../../cli/test/prints.mjs';
import { binaryStl, box, bumpyBall, footAndIsland, table } from './meshes.mjs';
import {
  assertAccessible,
  give,
  giveAll,
  openStiltforge,
  resultShown,
  saved,
  withoutBrowser as skip,
  told,
} from './stiltforge_page.mjs';

const tableStl = binaryStl(table());

/** An STL that announces 4 thousand million triangles. */
function boastful() {
  const bytes = Buffer.from(tableStl);
  bytes.writeUInt32LE(0xffffffff, 80);
  return bytes;
}

for (const [what, name, content, sentence] of [
  ['an empty file', 'empty.stl', '', /^empty\.stl: the file is empty/],
  ['no mesh', 'notes.txt', 'dear diary', /^notes\.txt: .*none of STL, OBJ, PLY or 3MF/],
  [
    'a picture',
    'photo.stl',
    Buffer.from('\x89PNG\r\n\x1a\n\0\0\0\rIHDR', 'latin1'),
    /that of a PNG file/,
  ],
  ['noise', 'noise.stl', Buffer.alloc(5000, 0xa7), /^noise\.stl: /],
  ['a mesh that is cut off', 'cut.stl', tableStl.subarray(0, 300), /^cut\.stl: .*announces 36/],
  [
    'a mesh that claims too much',
    'huge.stl',
    boastful(),
    /^huge\.stl: .*announces 4,?294,?967,?295/,
  ],
  ['an archive that is cut off', 'cut.3mf', Buffer.from('PK\x03\x04rest'), /^cut\.3mf: /],
  ['a file for a printer that is cut off', 'plate.sl1', sl1().subarray(0, 900), /^plate\.sl1: /],
  [
    'a print without material',
    'blank.sl1',
    sl1([png(screen.width, screen.height, Buffer.alloc(screen.width * screen.height))]),
    /^blank\.sl1: no pixel .* Lower --threshold of the command, or export the print again\.$/,
  ],
  [
    'a part that is larger than the screen',
    'wide.stl',
    binaryStl(box([0, 0, 0], [400, 10, 10])),
    /^wide\.stl: .*mm/,
  ],
]) {
  test(`${what} is told in a sentence`, { skip }, async (t) => {
    const { page, complaints } = await openStiltforge(t);
    await give(page, name, content);
    assert.match(await told(page), sentence);
    assert.equal(await page.locator('pre').count(), 0);
    await give(page, 'table.stl', tableStl);
    await resultShown(page, 'table.stl');
    assert.deepEqual(complaints, []);
  });
}

test('no file, and a print among several files, are told, too', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  await page.evaluate(() => {
    const dataTransfer = new DataTransfer();
    window.dispatchEvent(new DragEvent('drop', { dataTransfer, cancelable: true }));
  });
  assert.match(await told(page), /^That was no file\./);
  await giveAll(page, { 'table.stl': tableStl, 'plate.sl1': sl1() });
  const alert = page.getByRole('alert');
  await alert.filter({ hasText: 'plate.sl1: it is a plate of its own' }).waitFor();
  await page.getByText('Units, axis, place').click();
  await page.getByLabel('Copies').fill('2');
  await give(page, 'plate.sl1', sl1());
  await alert.filter({ hasText: 'Copies: the layers of plate.sl1 are cut already' }).waitFor();
});

test('parts that find no room on the plate are named', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  const large = binaryStl(box([0, 0, 0], [100, 100, 5]));
  await giveAll(page, { 'one.stl': large, 'two.stl': large });
  assert.match(await told(page), /1 of 2 parts find no room .*less “Gap between parts”/);
});

test('what is wrong with a setting stands beside it, in the words of the page', {
  skip,
}, async (t) => {
  const { page } = await openStiltforge(t);
  const layerHeight = page.getByLabel('Layer height');
  await layerHeight.fill('abc');
  await layerHeight.press('Tab');
  await page.getByText('It must be a plain number above 0, like 0.05.').waitFor();
  await layerHeight.fill('0.05');
  // Ranges are those of the analysis.
  await page.getByText('Units, axis, place').click();
  const lift = page.getByLabel('Lift off the plate');
  await lift.fill('2000');
  await lift.press('Tab');
  const sentence = 'Lift off the plate 2000: it must be from 0 to 1,000 mm.';
  await page.getByText(sentence).waitFor();
  assert.equal(await lift.getAttribute('aria-invalid'), 'true');
  await assertAccessible(page, 'a wrong setting');
  await page.getByText('Units, axis, place').click();
  await give(page, 'table.stl', tableStl);
  assert.equal(await told(page), sentence);
  await lift.fill('0');
  await page.getByRole('button', { name: 'Try again' }).click();
  await resultShown(page, 'table.stl');
});

test('a raft below a part that is not lifted is told beside it', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByText('Tips, pillars, raft of the STL').click();
  const raft = page.getByLabel('Raft, thick');
  await raft.fill('2');
  await raft.press('Tab');
  await page.getByText(/^Raft, thick 2: /).waitFor();
  assert.equal(await raft.getAttribute('aria-invalid'), 'true');
});

test('what is not all right with supports as geometry is told when they are saved', {
  skip,
}, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByText('Tips, pillars, raft of the STL').click();
  await page.getByLabel('Foot, across').fill('8');
  await page.getByLabel('Screen').selectOption('own');
  await page.getByLabel('Pixels across').fill('210');
  await page.getByLabel('Pixels up').fill('90');
  await give(page, 'island.stl', binaryStl(footAndIsland()));
  await resultShown(page, 'island.stl');
  await saved(page, 'supports.stl');
  const sentence = page.getByText(/^The supports reach .* over the edge of the screen/);
  await sentence.waitFor();
  await assertAccessible(page, 'a notice');
  await page.getByRole('button', { name: 'Close' }).click();
  await sentence.waitFor({ state: 'hidden' });
});

test('for a part that does not hold as it stands another orientation is proposed', {
  skip,
}, async (t) => {
  const { page, complaints } = await openStiltforge(t);
  // A block so close above a foot that no support fits between.
  const hovering = [...box([0, 0, 0], [6, 6, 3]), ...box([2, 2, 3.1], [4, 4, 4])];
  await give(page, 'hovering.stl', binaryStl(hovering));
  await resultShown(page, 'hovering.stl');
  await page.getByText('As the part stands, 1 island stays unheld.').waitFor();
  await assertAccessible(page, 'a proposal');
  await page.getByRole('button', { name: 'Try another orientation' }).press('Enter');
  await page.getByRole('heading', { name: 'Which way should it stand?' }).waitFor();
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  assert.equal(await page.getByRole('button', { name: 'Try another orientation' }).count(), 0);
  assert.deepEqual(complaints, []);
});

test('a search of orientations can be cancelled, and the part is still there', {
  skip,
}, async (t) => {
  const { page } = await openStiltforge(t);
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  const orientation = page.getByRole('button', { name: 'Orientation' });
  await orientation.click();
  const search = page.getByRole('button', { name: 'Search' });
  await search.click();
  await page.getByText(/^Orientation [1-9]/).waitFor();
  await page.getByRole('button', { name: 'Cancel' }).click();
  await page.getByText('Cancelled').waitFor();
  // Closing the dialog ends it, too.
  await search.click();
  await page.keyboard.press('Escape');
  await orientation.click();
  await page.getByText('Cancelled').waitFor();
  await page.keyboard.press('Escape');
  assert.match(String((await saved(page, 'points.csv')).bytes), /^x_mm,/);
});

test('a part whose layers are cut already is not moved', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByLabel('Height', { exact: true }).fill('10');
  await give(page, 'plate.sl1', sl1());
  assert.match(await told(page), /^Height: the layers of plate\.sl1 are cut already/);
  await page.getByLabel('Height', { exact: true }).fill('');
  await page.getByRole('button', { name: 'Try again' }).click();
  await resultShown(page, 'plate.sl1');
});

test('height and scale are not both taken', { skip }, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByLabel('Height', { exact: true }).fill('10');
  await page.getByLabel('Scale').fill('2');
  await give(page, 'table.stl', tableStl);
  await page.getByText('The height decides the scale: leave one of them empty.').waitFor();
});

test('a part that needs more memory than there is, is told before it starts', {
  skip,
}, async (t) => {
  const { page } = await openStiltforge(t);
  await page.getByLabel('Screen').selectOption('own');
  await page.getByLabel('Pixels across').fill('65535');
  await page.getByLabel('Pixels up').fill('65535');
  await page.getByLabel('Pixel size').fill('0.002');
  await give(page, 'large.stl', binaryStl(box([0, 0, 0], [120, 120, 10])));
  const sentence = await told(page);
  assert.match(sentence, /pixels of the screen.*Choose larger pixels with “Pixel size”/);
  assert.doesNotMatch(sentence, /--/);
});

test('a run can be cancelled at any time, and another begins at once', { skip }, async (t) => {
  const { page, complaints } = await openStiltforge(t);
  await page.getByLabel('Layer height').fill('0.01');
  await give(page, 'long.stl', binaryStl(bumpyBall()));
  await page.getByText(/^Layer [1-9]/).waitFor();
  // The page answers while its worker works.
  await page.getByRole('button', { name: 'Light or dark' }).click();
  await page.locator('[data-theme=dark] .part[data-state=work]').waitFor();
  await page.keyboard.press('Escape');
  assert.equal(await told(page), 'long.stl was not analysed to its end.');
  await page.getByLabel('Layer height').fill('0.05');
  await give(page, 'table.stl', tableStl);
  await resultShown(page, 'table.stl');
  assert.deepEqual(complaints, []);
});
