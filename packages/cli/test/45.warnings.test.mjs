// What a person is told about a mesh before trusting its supports.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { meshWarnings } from '../dist/warnings.js';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, footAndSpike, table } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--no-pictures'];

/** The warnings that the command prints, and its summary. */
async function told(t, triangles, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const { code, out, err } = await stiltforge(['part.stl', ...coarse, ...words], { cwd: folder });
  assert.equal(code, 0, err);
  const prefix = 'stiltforge: warning: part.stl: ';
  const warnings = err.split('\n').filter((line) => line.startsWith(prefix));
  const document = await readFile(join(folder, 'part-supports', 'supports.json'), 'utf8');
  const sentences = warnings.map((line) => line.slice(prefix.length));
  assert.deepEqual(JSON.parse(document).model.warnings, sentences);
  return { warnings: sentences, out };
}

const turnedInward = (triangles) => triangles.map(([a, b, c]) => [a, c, b]);

test('a sound mesh gives none', async (t) => {
  assert.deepEqual((await told(t, box([0, 0, 0], [4, 4, 4]))).warnings, []);
});

test('one hole gives one warning: the volume of an open mesh means nothing', async (t) => {
  const cut = box([0, 0, 0], [6, 6, 6]).filter((corners) => !corners.every(([x]) => x === 0));
  const { warnings } = await told(t, [...cut, ...box([1, 1, 4], [8, 8, 9])]);
  assert.equal(warnings.length, 1);
  assert.match(
    warnings[0],
    /^The mesh has 4 open edges, so what is inside was guessed across gaps of up to 6 mm: look at the slices, and close the mesh or give its surface a thickness\.$/,
  );
});

test('level holes are told to be closed, cracks finer than a pixel not at all', async (t) => {
  const onSide = (axis, at) => (corners) => corners.every((corner) => corner[axis] === at);
  const cup = box([0, 0, 0], [6, 6, 6]).filter((corners) => !onSide(2, 6)(corners));
  const { warnings } = await told(t, cup);
  assert.equal(warnings.length, 1);
  assert.match(warnings[0], /^The mesh has 4 open edges around level holes, .* needs a thickness/);

  const [side, others] = [true, false].map((is) =>
    box([0, 0, 0], [6, 6, 6]).filter((corners) => onSide(0, 6)(corners) === is),
  );
  const aside = side.map((corners) => corners.map(([x, y, z]) => [x + 0.01, y, z]));
  assert.deepEqual((await told(t, [...others, ...aside])).warnings, []);
});

test('faces that are turned over are turned back, and nothing is told', async (t) => {
  const faces = table().slice(0, 12);
  for (const turnedOver of [(i) => i < 4, (i) => i % 2 === 0]) {
    const mixed = faces.flatMap((face, i) => (turnedOver(i) ? turnedInward([face]) : [face]));
    assert.deepEqual((await told(t, mixed)).warnings, []);
  }
});

test('parts that overlap are told by their volume', async (t) => {
  const { warnings } = await told(t, [...box([0, 0, 0], [4, 4, 3]), ...box([1, 1, 0], [6, 3, 3])]);
  assert.equal(warnings.length, 1);
  assert.match(warnings[0], /^The slices hold 60 mm3, 23\.1 % less than the mesh's 78 mm3/);
});

test('volumes of tiny parts are told with digits that differ', async (t) => {
  const { warnings } = await told(t, box([0, 0, 0], [0.34, 0.34, 0.34]));
  assert.match(
    warnings[0],
    /^The slices hold 0\.0\d+ mm3, [\d.]+ % (less|more) than the mesh's 0\.0393/,
  );
});

test('a flat part whose height is no whole number of layers is no reason to warn', async (t) => {
  assert.deepEqual((await told(t, box([0, 0, 0], [10, 10, 1.04]))).warnings, []);
});

test('a sealed void is told: resin stays in it, and supports too', async (t) => {
  const hollow = [...box([0, 0, 0], [8, 8, 8]), ...turnedInward(box([1, 1, 1], [7, 7, 7]))];
  const { warnings } = await told(t, hollow);
  assert.equal(warnings.length, 1);
  assert.match(warnings[0], /^The part has 1 sealed void, in which resin stays .*drain hole/);
});

test('cracks that the slices close are no void worth a word', () => {
  const told = (area, dropped = []) =>
    meshWarnings({
      ...sound,
      ...{ layers: [{ regions: 1 }], heights: { layerHeight: 0.05 } },
      part: { ...sound.part, dropped, verdict: { overhangInSealedVoids: { area } } },
    });
  assert.deepEqual(told(0.2), []);
  assert.match(told(0.3).join(), /^The slices enclose voids with 0\.3 mm2 of overhang/);
  assert.match(told(0.2, [{ reason: 'sealedVoid', layer: 0 }]).join(), /support that was wanted/);
});

test('a part that begins above the plate is told with its height', () => {
  const layers = [0, 0, 0, 1, 1].map((regions) => ({ regions, supports: 0, islands: [] }));
  const [warning, ...rest] = meshWarnings({ ...sound, layers, heights: { layerHeight: 0.05 } });
  assert.match(warning, /^The part begins 0\.15 mm above the plate \(layers 0 to 2 are empty\)/);
  assert.deepEqual(rest, []);
  const heights = { layerHeight: 0.05, firstLayerHeight: 0.3 };
  assert.match(meshWarnings({ ...sound, layers, heights })[0], /begins 0\.40 mm above the plate/);
});

test('a tip too fine for the first layer is told, too', async (t) => {
  const spike = footAndSpike().slice(12);
  const { warnings } = await told(t, spike, ['--pixel-size', '0.35']);
  assert.match(
    warnings.join(),
    /The part begins 0\.50 mm above the plate \(layers 0 to 4 are empty\)/,
  );
});

test('a gap between parts is told with its place and height', async (t) => {
  const { warnings } = await told(t, [...box([0, 0, 0], [4, 4, 2]), ...box([0, 0, 5], [4, 4, 6])]);
  assert.equal(warnings.length, 1);
  assert.match(
    warnings[0],
    /^A gap of 3\.00 mm begins 2\.00 mm above .* \(layers 20 to 49 are empty\)/,
  );
});

test('many gaps are told shortly', () => {
  const layers = Array.from({ length: 21 }, (_, i) => ({ regions: (i + 1) % 2 }));
  const warnings = meshWarnings({ ...sound, layers, heights: { layerHeight: 1 } });
  assert.equal(warnings.length, 4);
  assert.match(warnings[3], /^7 more gaps are above/);
  const fewer = meshWarnings({ ...sound, layers: layers.slice(0, 9), heights: { layerHeight: 1 } });
  assert.match(fewer[3], /^1 more gap is above/);
});

test('empty layers on top are nothing to worry about', () => {
  const layers = [{ regions: 1 }, { regions: 0 }];
  assert.deepEqual(meshWarnings({ ...sound, layers, heights: { layerHeight: 1 } }), []);
});

const row = (out, name) => new RegExp(`^  ${name} +(.*)$`, 'm').exec(out)[1];

test('the summary says what became of the islands', async (t) => {
  for (const part of [footAndIsland(), footAndSpike()]) {
    assert.match(row((await told(t, part)).out, 'held'), /^1 island, held; /);
  }
  assert.match(row((await told(t, table())).out, 'held'), /^no islands; /);
});

test('a region that is not there is called a region', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(footAndIsland()));
  const refusal = async (wanted) => {
    const words = ['part.stl', ...coarse, '--inspect', wanted];
    const { code, err } = await stiltforge([...words, '-q'], { cwd: folder });
    assert.equal(code, 2);
    return err;
  };
  assert.match(await refusal('3:2'), /--inspect 3:2: layer 3 of part\.stl has 1 region\.$/m);
  assert.match(await refusal('25:3'), /--inspect 25:3: layer 25 of part\.stl has 2 regions\.$/m);
});

const sound = {
  report: {
    ...{ openParts: 0, cavities: 0, expectedVolume: 8, floatingParts: 0, floatingFrom: 0 },
    bounds: { min: [0, 0, 0], max: [2, 2, 2] },
  },
  sliceVolume: 8,
  pixelSize: 0.05,
  minimumHeight: 0.2,
  part: { dropped: [], verdict: { overhangInSealedVoids: { area: 0 } } },
};
