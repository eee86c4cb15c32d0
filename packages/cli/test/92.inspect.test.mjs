// A region of an earlier run, looked at later.
import assert from 'node:assert/strict';
import { mkdir, readdir, readFile, rename, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--no-pictures', '-q'];
const sheet = join('inspect', 'layer_00020_region_2.png');

/** A folder with a part and the results of a run; gives functions for both. */
async function withRun(t, words = [], triangles = footAndIsland()) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const run = (words) => stiltforge(words, { cwd: folder });
  const { code, err } = await run(['part.stl', ...coarse, ...words, '-o', 'out']);
  assert.equal(code, 0, err);
  const files = async () => (await readdir(join(folder, 'out'), { recursive: true })).sort();
  return { folder, run, files };
}

test('inspect shows what the run itself would have shown, and leaves its files', async (t) => {
  const words = [
    '--up',
    'z',
    '--rotate',
    '0,0,30',
    '--height',
    '5',
    '--center',
    '--set',
    'ghostPart=2',
  ];
  const { folder, run, files } = await withRun(t, [...words, '--report']);
  const before = await files();
  const point = JSON.parse(await readFile(join(folder, 'out', 'supports.json'), 'utf8'))
    .supports[0];
  const where = ['--layer', String(point.layer), '--region', String(point.region)];
  const { code, out, err } = await run(['inspect', 'out', ...where]);
  assert.equal(code, 0, err);
  assert.equal(out, `${join('out', 'inspect/')}\n`);
  const added = (await files()).filter((name) => !before.includes(name));
  const name = `layer_${String(point.layer).padStart(5, '0')}_region_${point.region}`;
  assert.ok(added.includes(join('inspect', `${name}.png`)));
  assert.deepEqual(
    before.filter((name) => !added.includes(name)),
    before,
  );
  const inspect = ['--inspect', `${point.layer}:${point.region}`, '-o', 'again'];
  assert.equal((await run(['part.stl', ...coarse, ...words, ...inspect])).code, 0);
  for (const file of added.filter((name) => name.endsWith('.png'))) {
    const [later, atOnce] = await Promise.all(
      ['out', 'again'].map((results) => readFile(join(folder, results, file))),
    );
    assert.deepEqual(later, atOnce, file);
  }
});

test('inspect finds the mesh beside the results, or where it is told', async (t) => {
  const { folder, run } = await withRun(t);
  const words = ['--layer', '20', '--region', '2', '-q'];
  await mkdir(join(folder, 'elsewhere'));
  const there = { cwd: join(folder, 'elsewhere') };
  const beside = await stiltforge(['inspect', '../out', ...words], there);
  assert.deepEqual([beside.code, beside.out], [0, ''], beside.err);
  await readFile(join(folder, 'out', sheet));
  await rename(join(folder, 'part.stl'), join(folder, 'moved.stl'));
  const lost = await run(['inspect', 'out', ...words]);
  assert.equal(lost.code, 2);
  assert.match(lost.err, /out: its model part\.stl is neither here nor beside.*--model/);
  assert.equal((await run(['inspect', 'out', ...words, '--model', 'moved.stl'])).code, 0);
});

test('inspect finds the mesh of results that are called as the mesh is', async (t) => {
  const { folder } = await withRun(t);
  await mkdir(join(folder, 'results'));
  await rename(join(folder, 'out'), join(folder, 'results', 'part.stl'));
  const there = { cwd: join(folder, 'results') };
  await rename(join(folder, 'part.stl'), join(folder, 'results', 'part.stl', 'part.stl'));
  const words = ['--layer', '20', '--region', '2', '-q'];
  const { code, err } = await stiltforge(['inspect', 'part.stl', ...words], there);
  assert.equal(code, 0, err);
});

test('inspect says what is wrong', async (t) => {
  const { folder, run } = await withRun(t);
  const words = ['--layer', '20', '--region', '2'];
  for (const [words, message] of [
    [['out', '--layer', '20'], /required option '--region <k>'/],
    [['out', '--layer', '20', '--region', '0'], /whole number from 1/],
    [['out', '--layer', '20', '--region', '9'], /layer 20 of part\.stl has 2 regions/],
    [['out', '--layer', '90', '--region', '1'], /part\.stl has the layers 0 to 29/],
    [['nowhere', '--layer', '1', '--region', '1'], /nowhere.supports\.json: it can't be read/],
  ]) {
    const { code, err } = await run(['inspect', ...words]);
    assert.equal(code, 2, err);
    assert.match(err, message);
  }
  for (const triangles of [
    table(),
    [...box([0, 0, 0], [4, 4, 3]), ...box([6, 0, 2], [11, 4, 3])],
  ]) {
    await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
    const { code, err } = await run(['inspect', 'out', ...words]);
    assert.equal(code, 2, err);
    assert.match(err, /part\.stl: this is not the mesh of the run/);
  }
  for (const [document, message] of [
    [{ schemaVersion: 1 }, /another version of stiltforge wrote it/],
    [
      { schemaVersion: 2, model: { layers: {} }, print: {}, settings: {}, parameters: {} },
      /its part was read as layers/,
    ],
  ]) {
    await writeFile(join(folder, 'out', 'supports.json'), JSON.stringify(document));
    const { code, err } = await run(['inspect', 'out', ...words]);
    assert.equal(code, 2);
    assert.match(err, message);
  }
});
