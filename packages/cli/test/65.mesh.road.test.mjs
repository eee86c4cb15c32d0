// From the mesh to the supports without a picture, against slices painted and analysed as pictures.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { Analysis } from 'stiltforge/analysis';
import { analysisParameters, createSlicer, defaultPrint, defaultSupport } from 'stiltforge/slicing';
import { generator } from '../../../fuzz/generator.mjs';
import { scaled, standingOnOrigin, turnedFromYUp } from '../dist/mesh/triangles.js';
import { box, footAndIsland, footAndSpike, table } from './meshes.mjs';

function bunny(height) {
  const { positions, cells } = createRequire(import.meta.url)('bunny');
  const corners = cells.flatMap((cell) => cell.flatMap((vertex) => positions[vertex]));
  const standing = standingOnOrigin(turnedFromYUp(new Float32Array(corners)));
  const tallest = standing.reduce((top, value, i) => (i % 3 === 2 ? Math.max(top, value) : top), 0);
  return scaled(standing, height / tallest);
}

/** Boxes at random, and triangles that belong to nothing: any mesh takes the same road. */
function rubble(seed) {
  const random = generator(seed);
  const point = () => [20 * random(), 20 * random(), 8 * random()];
  const boxes = Array.from({ length: 12 }, () => {
    const [a, b] = [point(), point()];
    const low = a.map((value, axis) => Math.min(value, b[axis]));
    return box(
      low,
      low.map((value, axis) => value + [4, 4, 2][axis] * random() + 0.05),
    );
  });
  const loose = Array.from({ length: seed % 4 }, () => [point(), point(), point()]);
  return [...boxes.flat(), ...loose];
}

const soup = (triangles) => Float32Array.from(triangles.flat(2));

async function assertSameResults(positions, changes = {}, parameterChanges = {}) {
  const print = { ...defaultPrint, ...changes };
  const { criticalAngle, inset } = defaultSupport;
  const slicer = createSlicer({ positions, ...print, margin: 2, criticalAngle, inset });
  const parameters = {
    ...analysisParameters(print, defaultSupport, slicer),
    ...parameterChanges,
  };
  const natively = Analysis.create(parameters);
  const painted = Analysis.create(parameters);
  let supports = 0;
  try {
    for await (const result of natively.run(slicer)) {
      const { pixels } = await slicer.slice(result.layerIndex);
      assert.deepEqual(result, await painted.analyse(pixels), `layer ${result.layerIndex}`);
      supports += result.layer.groups.reduce((sum, group) => sum + group.supports.length, 0);
    }
    assert.equal(natively.sliceCount, slicer.layerCount);
    assert.equal(painted.sliceCount, slicer.layerCount);
  } finally {
    await natively.close();
    await painted.close();
  }
  return supports;
}

test('the demo mesh gets the same results without pictures as with them', async () => {
  assert.ok((await assertSameResults(bunny(24), { pixelSize: 0.1 })) > 5);
});

test('... in pixels that are not as high as wide', async () => {
  assert.ok((await assertSameResults(bunny(20), { pixelSize: 0.07, layerHeight: 0.11 })) > 5);
});

test('... with buffers', async () => {
  await assertSameResults(bunny(8), { pixelSize: 0.1, layerHeight: 0.1 }, { needBuffer: true });
});

for (const [name, make] of Object.entries({ table, footAndIsland, footAndSpike })) {
  test(`a small mesh gets the same results without pictures as with them: ${name}`, async () => {
    assert.ok((await assertSameResults(soup(make()))) > 0);
  });
}

for (let seed = 1; seed <= 12; seed += 1) {
  test(`rubble, some of it open, gets the same results without pictures as with them: ${seed}`, async () => {
    await assertSameResults(soup(rubble(seed)), { pixelSize: 0.08, layerHeight: 0.08 });
  });
}
