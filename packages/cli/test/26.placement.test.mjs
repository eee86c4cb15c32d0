// Where the options put the part.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table, threeMf } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--screen', '400x300', '-q'];

async function run(t, file, bytes, words) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, file), bytes);
  const result = await stiltforge([file, ...coarse, '--no-pictures', ...words], { cwd: folder });
  if (result.code !== 0) return result;
  const document = JSON.parse(await readFile(join(folder, 'part-supports/supports.json'), 'utf8'));
  return { ...result, document };
}

async function placed(t, triangles, words) {
  const result = await run(t, 'part.stl', binaryStl(triangles), words);
  assert.equal(result.code, 0, result.err);
  return result.document;
}

const size = ({ model: { min, max } }) => max.map((value, axis) => value - min[axis]);

test('--rotate turns about x, then y, then z', async (t) => {
  const bar = box([0, 0, 0], [2, 4, 8]);
  assert.deepEqual(size(await placed(t, bar, ['--rotate', '90,0,0'])), [2, 8, 4]);
  assert.deepEqual(size(await placed(t, bar, ['--rotate', '90,90,0'])), [4, 8, 2]);
  assert.deepEqual(size(await placed(t, bar, ['--rotate', '90,90,-90'])), [8, 4, 2]);
});

test('--rotate turns a table upside down, which then needs no supports', async (t) => {
  const legs = [...box([0, 0, 3], [12, 12, 4]), ...box([5, 5, 0], [7, 7, 3.5])];
  const standing = await placed(t, legs, []);
  const turned = await placed(t, legs, ['--rotate', '180,0,0']);
  assert.ok(standing.supports.length > 0);
  assert.equal(turned.supports.length, 0);
});

test('--rotate comes after --up and before --height', async (t) => {
  const bar = box([0, 0, 0], [2, 4, 8]);
  const words = ['--up', 'y', '--rotate', '0,90,0', '--height', '4'];
  assert.deepEqual(size(await placed(t, bar, words)), [8, 16, 4]);
});

test('--units says what the numbers of a file are', async (t) => {
  const small = box([0, 0, 0], [0.25, 0.5, 0.5]);
  assert.deepEqual(size(await placed(t, small, ['--units', 'mm'])), [0.25, 0.5, 0.5]);
  assert.deepEqual(size(await placed(t, small, ['--units', 'cm'])), [2.5, 5, 5]);
  const inches = size(await placed(t, small, ['--units', 'inch']));
  for (const [axis, length] of [6.35, 12.7, 12.7].entries()) {
    assert.ok(Math.abs(inches[axis] - length) < 1e-5, String(inches));
  }
  const metres = box([0, 0, 0], [0.01, 0.01, 0.005]);
  assert.ok(Math.abs(size(await placed(t, metres, ['--units', 'm']))[2] - 5) < 1e-5);
});

test('--units is refused for a 3MF, which says its own', async (t) => {
  const { code, err } = await run(t, 'part.3mf', threeMf(table()), ['--units', 'cm']);
  assert.equal(code, 2);
  assert.match(err, /^stiltforge: --units cm: part\.3mf is a 3MF, which says its unit itself\./);
});

test("--center puts the screen's middle and the plate to 0", async (t) => {
  const { model, supports } = await placed(t, footAndIsland(), ['--center']);
  assert.deepEqual(model.min, [-5, -2, 0]);
  assert.deepEqual(model.max, [5, 2, 3]);
  for (const { x, y, z } of supports) assert.ok(x > 1 && Math.abs(y) < 2 && z === 2);
});

test('--lift raises the part, and supports hold its underside', async (t) => {
  const slab = box([0, 0, 0], [12, 12, 2]);
  assert.equal((await placed(t, slab, [])).supports.length, 0);
  const { print, model, supports } = await placed(t, slab, ['--lift', '5']);
  assert.equal(print.lift, 5);
  assert.equal(print.layers, 70);
  assert.deepEqual([model.min[2], model.max[2]], [0, 2]);
  assert.deepEqual(model.warnings, []);
  assert.ok(supports.length >= 4, `${supports.length} supports`);
  for (const { z, layer, kind } of supports) {
    assert.deepEqual({ z, layer, kind }, { z: 0, layer: 50, kind: 'island' });
  }
  const corners = [0, 12].flatMap((x) => [0, 12].map((y) => [x, y]));
  for (const [x, y] of corners) {
    const near = supports.filter((at) => Math.hypot(at.x - x, at.y - y) < 5);
    assert.ok(near.length > 0, `nothing holds the corner at ${x}, ${y}`);
  }
});

test('a lifted part keeps the supports of its overhangs', async (t) => {
  const plain = await placed(t, footAndIsland(), []);
  const lifted = await placed(t, footAndIsland(), ['--lift', '3']);
  const island = ({ supports }) => supports.filter(({ x }) => x > 6).map(({ z }) => z);
  assert.deepEqual(new Set(island(lifted)), new Set(island(plain)));
  assert.ok(lifted.supports.length > plain.supports.length);
});

test('--lift 0 changes nothing but what is written down', async (t) => {
  const plain = await placed(t, footAndIsland(), []);
  const lifted = await placed(t, footAndIsland(), ['--lift', '0']);
  assert.deepEqual(lifted.supports, plain.supports);
});

test('values that are none are refused with what they must be', async (t) => {
  for (const [words, sentence] of [
    [['--rotate', '90'], /'--rotate <X,Y,Z>' argument '90' is invalid\. It must be three numbers/],
    [['--rotate', '90,0,a'], /It must be three numbers of degrees/],
    [['--rotate', '90,0,361'], /from -360 to 360/],
    [['--rotate', '90,,0'], /three numbers/],
    [['--rotate', '1e2,0,0'], /three numbers/],
    [['--lift', '-1'], /It must be a plain number from 0/],
    [['--lift', '1001'], /--lift 1001: it must be from 0 to 1,000 mm\./],
    [['--units', 'ell'], /Allowed choices are mm, cm, m, inch/],
    [['--units', 'm', '--scale', '1e3'], /plain number/],
  ]) {
    const { code, err } = await run(t, 'part.stl', binaryStl(table()), words);
    assert.equal(code, 2, err);
    assert.match(err, sentence);
  }
});
