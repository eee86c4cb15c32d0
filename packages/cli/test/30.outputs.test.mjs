import assert from 'node:assert/strict';
import { readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import sharp from 'sharp';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

async function run(t, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'table.stl'), binaryStl(table()));
  const result = await stiltforge(['table.stl', ...words], { cwd: folder });
  assert.equal(result.code, 0, result.err);
  const outputs = join(folder, 'table-supports');
  return { ...result, outputs };
}

const json = async (outputs) => JSON.parse(await readFile(join(outputs, 'supports.json'), 'utf8'));

test('supports.json: every support in millimetres, pixels, layer and region', async (t) => {
  const { outputs } = await run(t, ['--no-pictures']);
  const document = await json(outputs);
  assert.equal(document.schemaVersion, 2);
  assert.equal(document.model.file, 'table.stl');
  assert.equal(document.print.layers, 90);
  assert.equal(document.summary.supports, document.supports.length);
  assert.ok(document.supports.length > 4, 'a table that hangs over needs several supports');
  assert.equal(Object.keys(document.parameters).length, 28);
  const { print } = document;
  for (const support of document.supports) {
    // The part stands in the middle of the screen, its larger y at the top.
    const x = 6 + (support.column + 0.5 - print.screenWidth / 2) * print.pixelSize;
    const y = 6 - (support.row + 0.5 - print.screenHeight / 2) * print.pixelSize;
    assert.ok(Math.abs(support.x - x) < 0.002 && Math.abs(support.y - y) < 0.002);
    assert.ok(Math.abs(support.z - support.layer * print.layerHeight) < 0.002);
    assert.ok(support.x >= 0 && support.x <= 12 && support.y >= 0 && support.y <= 12);
    assert.match(support.kind, /^(island|overhang)$/);
    assert.ok(support.region >= 1);
  }
});

test('the supports hold the underside of the table and nothing else', async (t) => {
  const { outputs } = await run(t, ['--no-pictures']);
  const { supports } = await json(outputs);
  for (const { z } of supports) assert.ok(z >= 3.45 && z <= 3.8, `a support at z ${z}`);
  for (const [cornerX, cornerY] of [
    [0, 0],
    [12, 0],
    [0, 12],
    [12, 12],
  ]) {
    const nearest = Math.min(...supports.map(({ x, y }) => Math.hypot(x - cornerX, y - cornerY)));
    assert.ok(nearest < 4, `the corner ${cornerX}, ${cornerY} hangs ${nearest} mm from a support`);
  }
});

test('points.csv has a row for each support of supports.json', async (t) => {
  const { outputs } = await run(t, ['--no-pictures']);
  const { supports } = await json(outputs);
  const [head, ...rows] = (await readFile(join(outputs, 'points.csv'), 'utf8'))
    .trimEnd()
    .split('\n');
  assert.equal(head, 'x_mm,y_mm,z_mm,column,row,layer,region,kind,reason');
  assert.deepEqual(
    rows,
    supports.map((s) =>
      [s.x, s.y, s.z, s.column, s.row, s.layer, s.region, s.kind, s.reason].join(','),
    ),
  );
});

test('the printed summary says what supports.json says', async (t) => {
  const { outputs, out } = await run(t, ['--no-pictures']);
  const { summary, supports, model } = await json(outputs);
  const islands = supports.filter(({ kind }) => kind === 'island').length;
  const row = (name) => new RegExp(`^  ${name} +(.*)$`, 'm').exec(out)[1];
  const sides = model.max.map((end, axis) => Number((end - model.min[axis]).toPrecision(3)));
  assert.equal(row('size'), `${sides.join(' x ')} mm`);
  assert.equal(row('layers'), String(summary.layers));
  assert.equal(row('regions'), String(summary.regions));
  assert.equal(
    row('supports'),
    `${supports.length} (${islands} under islands, ${supports.length - islands} under overhangs)`,
  );
  const heights = supports.map(({ z }) => z);
  assert.equal(row('lowest'), `${Math.min(...heights).toFixed(2)} mm above the plate`);
  assert.equal(row('highest'), `${Math.max(...heights).toFixed(2)} mm above the plate`);
  assert.match(row('time'), /^\d+ s, the layers at [\d,]+\/s$/);
});

test('two runs write the same bytes', async (t) => {
  const first = await run(t, ['--no-pictures']);
  const second = await run(t, ['--no-pictures']);
  for (const name of ['supports.json', 'points.csv']) {
    const [a, b] = await Promise.all(
      [first, second].map(({ outputs }) => readFile(join(outputs, name))),
    );
    assert.ok(a.equals(b), name);
  }
});

test('the number of supports hardly depends on pixel size and layer height', async (t) => {
  const counts = [];
  for (const [pixel, layer] of [
    ['0.05', '0.05'],
    ['0.035', '0.05'],
    ['0.05', '0.1'],
    ['0.1', '0.05'],
  ]) {
    const { outputs } = await run(t, [
      '--no-pictures',
      '--pixel-size',
      pixel,
      '--layer-height',
      layer,
    ]);
    counts.push((await json(outputs)).supports.length);
  }
  for (const count of counts) {
    assert.ok(Math.abs(count - counts[0]) <= Math.max(3, 0.2 * counts[0]), counts.join(', '));
  }
});

test('pictures: the part from two sides and from below, and telling slices', async (t) => {
  const { outputs, out } = await run(t);
  const names = await readdir(outputs);
  for (const name of ['part.png', 'part_from_below.png', 'slices.png', 'slices']) {
    assert.ok(names.includes(name), name);
    assert.ok(out.includes(name), 'the summary names it');
  }
  const { dominant, isOpaque, entropy } = await sharp(join(outputs, 'part.png')).stats();
  assert.ok(isOpaque && entropy > 0.5 && dominant.r > 200, 'a part on a light background');
});

test('pictures of a needle stay as small as those of other parts', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'needle.stl'), binaryStl(box([0, 0, 0], [0.5, 0.5, 100])));
  const words = ['needle.stl', '--layer-height', '1'];
  assert.equal((await stiltforge(words, { cwd: folder })).code, 0);
  for (const name of ['part.png', 'part_from_below.png']) {
    const { height } = await sharp(join(folder, 'needle-supports', name)).metadata();
    assert.ok(height < 1200, `${name} is ${height} pixels high`);
  }
});

test('a part of many metres, whose units are wrong, is drawn too', async (t) => {
  const { outputs } = await run(t, [
    ...['--scale', '10000', '--screen', '2000x2000'],
    ...['--pixel-size', '200', '--layer-height', '1000', '--support-area', '1000000000'],
  ]);
  assert.ok((await readdir(outputs)).includes('part.png'));
});

test('--inspect writes eight images of a region and a labelled sheet', async (t) => {
  const probe = await run(t, ['--no-pictures']);
  const [{ layer, region }] = (await json(probe.outputs)).supports;
  const { outputs } = await run(t, ['--no-pictures', '--inspect', `${layer}:${region}`]);
  const inspect = join(outputs, 'inspect');
  const name = `layer_${String(layer).padStart(5, '0')}_region_${region}`;
  assert.deepEqual((await readdir(inspect)).sort(), [name, `${name}.png`]);
  const images = await readdir(join(inspect, name));
  assert.deepEqual(
    images.sort(),
    ['angle', 'combined', 'ghost', 'sample', 'score', 'scoreSupport', 'stroke', 'support'].map(
      (image) => `${image}.png`,
    ),
  );
  for (const image of images) {
    const { width, height } = await sharp(join(inspect, name, image)).metadata();
    assert.equal(width, 240, '12 mm in pixels of 0.05 mm');
    assert.equal(height, 240);
  }
});

test('a scaled or turned mesh keeps its own coordinates in the outputs', async (t) => {
  const { outputs } = await run(t, ['--no-pictures', '--height', '9']);
  const { model } = await json(outputs);
  assert.deepEqual(model.min, [0, 0, 0]);
  assert.deepEqual(model.max, [24, 24, 9]);
});
