import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { outputNames, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, footAndSpike } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--screen', '200x150', '-q'];

async function analysed(t, triangles, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const result = await stiltforge(['part.stl', ...coarse, '--no-pictures', ...words], {
    cwd: folder,
  });
  assert.equal(result.code, 0, result.err);
  const outputs = join(folder, 'part-supports');
  const document = JSON.parse(await readFile(join(outputs, 'supports.json'), 'utf8'));
  return { ...result, outputs, document };
}

test('an island is held, and what stands on the plate is left alone', async (t) => {
  const { document } = await analysed(t, footAndIsland());
  assert.equal(document.summary.islands, 1);
  assert.ok(document.supports.length > 0);
  for (const { x, y, z, layer, region, kind } of document.supports) {
    assert.deepEqual({ z, layer, region, kind }, { z: 2, layer: 20, region: 2, kind: 'island' });
    assert.ok(x > 6 && x < 10 && y > 0 && y < 4, `${x}, ${y}`);
  }
});

test('a spike whose tip is a single pixel is held near its tip', async (t) => {
  const { document } = await analysed(t, footAndSpike());
  const [lowest] = document.supports;
  assert.equal(lowest.kind, 'island');
  assert.ok(lowest.z < 1.5, `held from ${lowest.z} mm on, the tip is at 1 mm`);
});

test('--scale and --height enlarge the part', async (t) => {
  const { document: scaled } = await analysed(t, footAndIsland(), ['--scale', '1.5']);
  const { document: raised } = await analysed(t, footAndIsland(), ['--height', '4.5']);
  assert.deepEqual(scaled.model.max, [15, 6, 4.5]);
  assert.deepEqual(raised.supports, scaled.supports);
});

test('--up y turns the part, so that its y becomes its height', async (t) => {
  const { document } = await analysed(t, footAndIsland(), ['--up', 'y']);
  assert.equal(document.print.layers, 40);
});

test('--support-area: less of it gives more supports', async (t) => {
  const { document: few } = await analysed(t, footAndIsland(), ['--support-area', '16']);
  const { document: many } = await analysed(t, footAndIsland(), ['--support-area', '2']);
  assert.ok(many.supports.length > few.supports.length);
});

test('--critical-angle decides which slopes need supports', async (t) => {
  const slope = [...box([0, 0, 0], [2, 4, 8]), ...leaning(55)];
  const { document: carries } = await analysed(t, slope, [
    '--support-area',
    '5',
    '--critical-angle',
    '20',
  ]);
  const { document: hangs } = await analysed(t, slope, [
    '--support-area',
    '5',
    '--critical-angle',
    '80',
  ]);
  assert.equal(carries.settings.criticalAngle, 20);
  assert.ok(hangs.supports.length > carries.supports.length);
});

test('--inset reaches the slices', async (t) => {
  const { document } = await analysed(t, footAndIsland(), ['--inset', '1']);
  assert.equal(document.settings.inset, 1);
});

test('--no-pictures draws none', async (t) => {
  const { outputs } = await analysed(t, footAndIsland());
  assert.deepEqual(await outputNames(outputs), ['points.csv', 'supports.json']);
});

/** A bar 4 mm wide that rises from the plate and leans towards +x, `degrees` from the plate. */
function leaning(degrees) {
  const shift = 8 / Math.tan((degrees * Math.PI) / 180);
  return box([1, 0, 0], [4, 4, 8]).map((corners) =>
    corners.map(([x, y, z]) => [x + (z / 8) * shift, y, z]),
  );
}
