// `stiltforge orient`: which way a part should stand.
import assert from 'node:assert/strict';
import { mkdir, readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { setTimeout } from 'node:timers/promises';
import { tableText } from '../dist/orient/report.js';
import { outputNames, start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland } from './meshes.mjs';

const coarse = ['--pixel-size', '0.2', '--layer-height', '0.2', '--screen', '400x300'];
const quick = [...coarse, '--directions', '20', '--list', '3'];

/** A slab on a post: it needs supports unless it is turned upside down. */
const table = [...box([0, 0, 10], [20, 20, 12]), ...box([8, 8, 0], [12, 12, 11])];

async function oriented(t, words = [], triangles = table) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const result = await stiltforge(['orient', 'part.stl', ...quick, ...words], { cwd: folder });
  return { ...result, folder, outputs: join(folder, 'part-orientation') };
}

const listOf = async (outputs) =>
  JSON.parse(await readFile(join(outputs, 'orientations.json'), 'utf8'));

test('the best orientation comes first, with what is gained over the file', async (t) => {
  const { code, out, err, outputs } = await oriented(t);
  assert.equal(code, 0, err);
  assert.match(out, /^part\.stl: \d+ orientations tried in \d+ s \([\d,]+ a minute\)\n/);
  assert.match(out, /\n {2}file +as it is +0,0,0 +[1-9]/);
  assert.match(out, /\n {2}1 +on a flat side +-?180,0,0 +0 +-100 %/);
  assert.match(out, /\n {2}Best: --rotate -?180,0,0, 0 supports instead of [1-9]\d*\.\n/);
  assert.deepEqual(await outputNames(outputs), [
    'orientations.json',
    'orientations.png',
    'oriented.stl',
  ]);
  const picture = await readFile(join(outputs, 'orientations.png'));
  assert.equal(picture.toString('latin1', 1, 4), 'PNG');
});

test('what takes more supports and yet is best says what it is better by', () => {
  const one = { turn: [90, 0, 0], origin: 'spread', supports: [], cost: 1 };
  const measures = { points: 71, overhang: 419, islands: 2, height: 11.5, cups: 2825, marks: 0 };
  const best = { ...measures, points: 89, overhang: 299, cups: 53 };
  const result = {
    ...{ tried: 2, search: { pixelSize: 0.2, layerHeight: 0.2 } },
    ...{ asItIs: { ...one, measures }, best: [{ ...one, measures: best }] },
  };
  const text = tableText({ name: 'part.stl', result, seconds: 1, folder: 'out', files: [] });
  assert.match(
    text,
    /\n {2}Best: --rotate 90,0,0, 89 supports instead of 71, but 53 mm3 in cups instead of 2,825\.\n/,
  );
});

test('the turned mesh is the part with exactly its corners turned', async (t) => {
  const { outputs } = await oriented(t, ['--no-pictures']);
  const stl = await readFile(join(outputs, 'oriented.stl'));
  assert.equal(stl.readUInt32LE(80), table.length);
  assert.equal(stl.length, 84 + 50 * table.length);
  assert.doesNotMatch(stl.toString('latin1', 0, 80), /^solid/);
  for (const [i, corners] of table.entries()) {
    for (const [k, [x, y, z]] of corners.entries()) {
      const at = 84 + 50 * i + 12 + 12 * k;
      const [tx, ty, tz] = [0, 4, 8].map((offset) => stl.readFloatLE(at + offset));
      assert.deepEqual(
        [tx, ty, tz].map((v) => v + 0),
        [x, -y, -z].map((v) => v + 0),
      );
    }
  }
});

test('the plain command finds the same supports', async (t) => {
  const { folder, outputs } = await oriented(t, ['--no-pictures']);
  for (const { turn, measures, supports } of (await listOf(outputs)).best) {
    const words = ['--rotate', turn.join(','), ...coarse, '--no-pictures', '-q', '--force'];
    const { code, err } = await stiltforge(['part.stl', ...words], { cwd: folder });
    assert.equal(code, 0, err);
    const file = join(folder, 'part-supports/supports.json');
    const document = JSON.parse(await readFile(file, 'utf8'));
    const { min, max } = document.model;
    assert.ok(Math.abs(max[2] - min[2] - measures.height) < 1e-4);
    const places = document.supports.map(({ x, y, z, kind }) => ({ x, y, z, kind }));
    assert.deepEqual(places, supports);
  }
});

test('the same part gives the same files', async (t) => {
  const first = await oriented(t, ['--no-pictures', '--quiet']);
  const second = await oriented(t, ['--no-pictures', '--quiet']);
  assert.equal(first.out, '');
  for (const name of ['orientations.json', 'oriented.stl']) {
    const [one, other] = [first, second].map(({ outputs }) => readFile(join(outputs, name)));
    assert.deepEqual(await one, await other);
  }
});

test('--json prints the list', async (t) => {
  const { out, outputs } = await oriented(t, ['--no-pictures', '--json']);
  assert.deepEqual(JSON.parse(out), await listOf(outputs));
  const { asItIs, best, search, schemaVersion } = JSON.parse(out);
  assert.equal(schemaVersion, 1);
  assert.ok(search.tried > 20);
  assert.equal(best.length, 3);
  assert.equal(asItIs.supports.length, asItIs.measures.points);
});

test('--prefer low lays a part down', async (t) => {
  const slab = box([0, 0, 0], [5, 20, 30]);
  const { outputs } = await oriented(t, ['--no-pictures', '--prefer', 'low'], slab);
  const [best] = (await listOf(outputs)).best;
  assert.ok(Math.abs(best.measures.height - 5) < 0.01);
});

test('--keep-clean keeps a side off the plate and free of supports', async (t) => {
  const cube = box([0, 0, 0], [10, 10, 10]);
  const { out, outputs } = await oriented(t, ['--no-pictures', '--keep-clean', 'bottom'], cube);
  const { asItIs, best } = await listOf(outputs);
  assert.equal(asItIs.measures.marks, 100);
  assert.equal(best[0].measures.marks, 0);
  assert.match(out, /marked mm2/);
});

test('a part that stands best as it is is left so', async (t) => {
  const { out } = await oriented(t, ['--no-pictures'], box([0, 0, 0], [20, 15, 5]));
  assert.match(out, /It stands best as it is\./);
});

test('the part is placed before it is turned', async (t) => {
  const { outputs } = await oriented(t, ['--no-pictures', '--rotate', '180,0,0', '--scale', '0.5']);
  const { asItIs } = await listOf(outputs);
  assert.equal(asItIs.measures.points, 0);
  assert.ok(Math.abs(asItIs.measures.height - 6) < 1e-4);
});

test('--lift counts the supports under what stood on the plate', async (t) => {
  const slab = box([0, 0, 0], [20, 15, 3]);
  const { outputs } = await oriented(t, ['--no-pictures', '--lift', '5'], slab);
  const { asItIs } = await listOf(outputs);
  assert.ok(asItIs.measures.points >= 6, String(asItIs.measures.points));
});

test('--preset gives the screen', async (t) => {
  const { code, err } = await oriented(t, ['--no-pictures', '--preset', 'no-such']);
  assert.equal(code, 2);
  assert.match(err, /--preset no-such: there is none of this name/);
});

test('nothing is compared with what shows as 0', async (t) => {
  const { out, outputs } = await oriented(t, ['--no-pictures'], box([0, 0, 0], [20, 15, 5]));
  const { asItIs } = await listOf(outputs);
  assert.equal(asItIs.measures.points, 0);
  assert.doesNotMatch(out, /Infinity|NaN|\d{4} %/);
});

test('a part too large for the screen as it lies is turned until it fits', async (t) => {
  const pole = box([0, 0, 0], [90, 5, 5]);
  const { code, out, outputs } = await oriented(t, ['--no-pictures'], pole);
  assert.equal(code, 0);
  assert.match(out, /As it is the part does not fit on the screen\./);
  assert.equal((await listOf(outputs)).asItIs, null);
});

test('what cannot be printed in any orientation is refused in a sentence', async (t) => {
  const { code, err, folder } = await oriented(t, [], box([0, 0, 0], [500, 500, 500]));
  assert.equal(code, 3);
  assert.equal(
    err,
    'stiltforge: part.stl: The part does not fit on the screen in any orientation. Scale it down or take a larger screen.\n',
  );
  assert.deepEqual(await outputNames(folder), ['part.stl']);
});

test('values that are none are refused with what they must be', async (t) => {
  for (const [words, sentence] of [
    [['--prefer', 'tall'], /There is no preference "tall"; there are few-points, /],
    [['--prefer', 'low=-1'], /The weight of low must be a plain number from 0/],
    [['--prefer', 'low=1e9'], /The weight of low must be a plain number from 0/],
    [['--keep-clean', 'inside'], /It must be a side \(front, back, /],
    [['--keep-clean', '0,0,0'], /It must be a side/],
    [['--directions', '0'], /a whole number from 1 to 100,000/],
    [['--list', '1.5'], /a whole number from 1 to 100/],
    [['--pixel-size', '9'], /--pixel-size 9: /],
    [['--colour'], /unknown option '--colour'/],
  ]) {
    const { code, err } = await oriented(t, words);
    assert.equal(code, 2, err);
    assert.match(err, sentence);
  }
});

test('files of others are not overwritten', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(footAndIsland()));
  await mkdir(join(folder, 'part-orientation'));
  await writeFile(join(folder, 'part-orientation/oriented.stl'), 'mine');
  const words = ['orient', 'part.stl', ...quick, '--no-pictures'];
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 4);
  assert.match(err, /oriented\.stl: this file was not written by stiltforge/);
  assert.equal(await readFile(join(folder, 'part-orientation/oriented.stl'), 'utf8'), 'mine');
  assert.equal((await stiltforge([...words, '--force'], { cwd: folder })).code, 0);
});

test('Ctrl-C ends the search, and nothing is written', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table));
  const words = ['orient', 'part.stl', ...coarse, '--directions', '100000'];
  const { child, done } = start(words, { cwd: folder });
  const isAtWork = async () => (await readdir(folder)).includes('part-orientation');
  while (child.exitCode === null && !(await isAtWork())) await setTimeout(20);
  child.kill('SIGINT');
  const { code, err } = await done;
  assert.equal(code, 130);
  assert.match(err, /interrupted, nothing was written/);
  assert.deepEqual(await outputNames(folder), ['part.stl']);
});

test('its help has its own options, and the plain command lists it', async () => {
  const { out } = await stiltforge(['orient', '--help']);
  assert.match(out, /^Usage: stiltforge orient <mesh> \[options\]/);
  assert.match(out, /--keep-clean <side>/);
  assert.match((await stiltforge(['--help'])).out, /\n {2}orient .*which way a part should stand/);
});

test('the room that supports need counts for the figures, as in the plain command', async (t) => {
  const dense = ['--support-area', '4', '--no-pictures'];
  const words = ['--min-height', '0.5', '--min-spacing', '1.9', ...dense];
  const { code, err, folder, outputs } = await oriented(t, words);
  assert.equal(code, 0, err);
  const { asItIs } = await listOf(outputs);
  const free = await listOf((await oriented(t, dense)).outputs);
  assert.ok(asItIs.measures.points < free.asItIs.measures.points, 'fewer are further apart');
  await stiltforge(['part.stl', ...coarse, ...words, '-q', '--out', 'out'], { cwd: folder });
  const { supports } = JSON.parse(await readFile(join(folder, 'out', 'supports.json'), 'utf8'));
  assert.equal(asItIs.measures.points, supports.length);
});

test('a search that needs more memory than it may take is refused before it starts', async (t) => {
  const { code, err, folder } = await oriented(t, ['--memory', '0.05']);
  assert.equal(code, 5);
  assert.match(err, /may take \d+ MB of memory, more than the 50 MB there are.*--memory/);
  assert.deepEqual(await readdir(folder), ['part.stl']);
});

test('little memory makes the search slower, not different', async (t) => {
  const { code, err, outputs } = await oriented(t, ['--memory', '0.15', '--no-pictures']);
  assert.equal(code, 0, err);
  const free = await oriented(t, ['--no-pictures']);
  assert.deepEqual(await listOf(outputs), await listOf(free.outputs));
});
