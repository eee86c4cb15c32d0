// Settings that can't work with each other: one sentence that names the option and its range.
import assert from 'node:assert/strict';
import { readdir, writeFile } from 'node:fs/promises';
import { totalmem } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

/** Runs the command on a mesh in a folder of its own and expects it to refuse, writing nothing. */
async function refused(t, triangles, words, code, message, always = ['--no-pictures']) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const result = await stiltforge(['part.stl', ...always, ...words], { cwd: folder });
  assert.equal(result.code, code, result.err);
  assert.match(result.err, message);
  assert.deepEqual(await readdir(folder), ['part.stl'], 'nothing is written');
}

const cube = box([0, 0, 0], [4, 4, 4]);

for (const [words, message] of [
  ['--layer-height 0x10', /^stiltforge: .*--layer-height.*plain number above 0, like 0\.05/],
  ['--pixel-size 5e-2', /--pixel-size.*plain number above 0/],
  ['--inset Infinity', /--inset.*plain number from 0/],
  ['--scale 1,5', /--scale.*plain number above 0/],
  ['--support-area -1', /--support-area.*plain number above 0/],
  ['--support-area 0', /--support-area.*plain number above 0/],
  ['--min-height -1', /--min-height.*plain number from 0/],
  ['--min-spacing 1mm', /--min-spacing.*plain number from 0/],
  ['--critical-angle 0b1', /--critical-angle.*plain number of degrees/],
]) {
  test(`${words}: only plain decimal numbers are taken`, (t) =>
    refused(t, cube, words.split(' '), 2, message));
}

for (const [words, message] of [
  [
    '--support-area 0.0025',
    /--support-area 0\.0025: at a pixel size of 0\.05 mm it must be from 0\.04 mm2, which is 16 pixels, to/,
  ],
  ['--support-area 100000000000000000000000000000', /--support-area 1e\+29: .* to 10,700,000 mm2/],
  ['--pixel-size 1000', /--pixel-size 1000: with a support area of 15 mm2 .* at most 0\.968 mm/],
  ['--pixel-size 0.0001', /--pixel-size 0\.0001: it must be at least 0\.000123 mm/],
  [
    '--critical-angle 0.0001',
    /--critical-angle 0\.0001: .*pixel size of 0\.05 mm.* layer height of 0\.05 mm.* at least 0\.028 /,
  ],
  ['--layer-height 1000', /--layer-height 1000: .* critical angle of 45 .* at most 102 mm/],
  ['--inset 1000000000', /--inset 1000000000: at a pixel size .* from 0 to 204 mm/],
  ['--min-height 20.5', /--min-height 20\.5: at a layer height of 0\.05 mm .* from 0 to 20 mm\./],
  [
    '--min-height 10.3 --layer-height 0.01',
    /--min-height 10\.3: at a layer height of 0\.01 mm it must be from 0 to 10\.2 mm\./,
  ],
  [
    '--min-spacing 3.9',
    /--min-spacing 3\.9: with a support area of 15 mm2 it must be from 0 to 3\.87 mm\./,
  ],
  [`--min-height 1${'0'.repeat(300)}`, /--min-height 1e\+300: /],
  [`--scale 1${'0'.repeat(50)}`, /--scale 1e\+50: it makes the part too large/],
  [`--height 0.${'0'.repeat(60)}1`, /--height 1e-61: it makes the part too small/],
  [
    '--pixel-size 12 --support-area 10000',
    /--pixel-size 12: the slices are empty, since part\.stl/,
  ],
]) {
  test(`${words.slice(0, 60)}: refused with the range`, (t) =>
    refused(t, cube, words.split(' '), 2, message));
}

test('the smallest area that is told works, and less area gives more supports down to it', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const counts = [];
  for (const area of ['0.64', '0.32', '0.16']) {
    const words = ['table.stl', '--no-pictures', '--pixel-size', '0.1', '--support-area', area];
    const { code, out, err } = await stiltforge(words, { cwd: folder });
    assert.equal(code, 0, err);
    counts.push(Number(/supports +([\d,]+)/.exec(out)[1].replace(',', '')));
  }
  assert.ok(counts[0] > 100 && counts[1] > 1.5 * counts[0] && counts[2] > 1.5 * counts[1], counts);
});

test('a mesh whose surfaces enclose nothing is refused as a mesh', (t) => {
  const sheet = [
    [
      [0, 0, 1],
      [9, 0, 2],
      [9, 9, 1],
    ],
  ];
  return refused(
    t,
    sheet,
    [],
    3,
    /part\.stl: the slices are empty: its surfaces enclose no volume/,
  );
});

test('more pixels than the analysis takes are refused before the start', (t) =>
  refused(
    t,
    box([0, 0, 0], [60, 60, 1]),
    ['--pixel-size', '0.001', '--screen', '65535x65535'],
    5,
    /the part covers 6\d{4} x 6\d{4} pixels of the screen, and the analysis takes at most 2,147,483,647/,
  ));

test(
  'a run whose pictures need more memory than the machine has is refused before the start',
  {
    skip: totalmem() > 110e9 ? 'this machine has the memory' : false,
  },
  (t) =>
    refused(
      t,
      box([0, 0, 0], [45, 45, 1]),
      ['--pixel-size', '0.001', '--screen', '65535x65535'],
      5,
      /45\d{3} x 45\d{3} pixels .* may take [\d.]+ GB of memory, more than the [\d.]+ GB there are/,
      [],
    ),
);

test('--memory sets another limit', async (t) => {
  await refused(
    t,
    cube,
    ['--memory', '0.05'],
    5,
    /more than the 50 MB .* --memory 0\.1\d+ starts it/,
  );
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(cube));
  const words = ['part.stl', '--no-pictures', '--memory', '1000'];
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
});

test('a run takes no more memory than was predicted', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const words = ['table.stl', '--pixel-size', '0.005', '--layer-height', '0.5'];
  for (const more of [[], ['--no-pictures'], ['--no-pictures', '--support-area', '0.05']]) {
    const refusal = await stiltforge([...words, ...more, '--memory', '0.05'], { cwd: folder });
    const predicted = Number(/may take (\d+) MB/.exec(refusal.err)[1]);
    const { code, out, err } = await stiltforge([...words, ...more], { cwd: folder });
    assert.equal(code, 0, err);
    const taken = Number(/peak memory +(\d+) MB/.exec(out)[1]);
    assert.ok(taken <= predicted, `${taken} MB, predicted ${predicted} MB`);
    assert.ok(taken > predicted / 4, 'and not a small part of it');
  }
});
