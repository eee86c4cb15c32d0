// From a mesh file, or from masks, to supports without any file of a host's own.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Analysis } from 'stiltforge/analysis';
import {
  analysisParameters,
  createMaskSlicer,
  createSlicer,
  defaultPrint,
  defaultSupport,
  findSettingConflict,
  readMesh,
} from 'stiltforge/slicing';
import { parameters } from './harness.mjs';

const tetrahedron = Buffer.from(
  'v 0 0 0\nv 9 0 4\nv 0 9 4\nv 9 9 9\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n',
);

async function collect(analysis, source) {
  const results = [];
  for await (const result of analysis.run(source)) results.push(result);
  await analysis.close();
  return results;
}

const supportsOf = (results) =>
  results.flatMap(({ layer }) => layer.groups.flatMap(({ supports }) => supports));

test('a mesh goes from its bytes to its supports', async () => {
  const { positions, format } = await readMesh(tetrahedron, { name: 'part.obj' });
  assert.equal(format, 'OBJ');
  const print = { ...defaultPrint, layerHeight: 0.1 };
  const slicer = createSlicer({ positions, ...print, margin: 2 });
  assert.equal(slicer.layerCount, 90);
  const model = analysisParameters(print, defaultSupport, slicer);
  assert.equal(model.width, slicer.width);
  const results = await collect(Analysis.create(model), slicer);
  assert.equal(results.length, 90);
  assert.ok(supportsOf(results).length > 0);
});

test('a setting that cannot be used is named with its range', () => {
  assert.equal(findSettingConflict(defaultPrint, defaultSupport), undefined);
  const conflict = findSettingConflict({ ...defaultPrint, pixelSize: -1 }, defaultSupport);
  assert.equal(conflict.setting, 'pixelSize');
  assert.equal(conflict.value, -1);
  assert.match(conflict.range, /mm/);
});

test('settings that are left out are named', () => {
  const slices = { width: 9, height: 9, layerCount: 9 };
  assert.throws(
    () => analysisParameters(),
    /^TypeError: The print must be an object with settings/,
  );
  assert.throws(
    () => analysisParameters(defaultPrint, undefined, slices),
    /^TypeError: The support must be an object with settings such as defaultSupport\.$/,
  );
});

test('what cannot be sliced says why', async () => {
  assert.throws(() => createSlicer({ positions: new Float32Array(9) }), TypeError);
  assert.throws(() => createMaskSlicer({ maskWidth: 0, maskHeight: 4 }), Error);
  await assert.rejects(readMesh(Buffer.from('v 0 0 0\n'), { name: 'points.obj' }), {
    code: 'ERR_STILTFORGE_MESH',
    message: /points\.obj/,
  });
});

const [width, height] = [60, 50];

/** A post, a roof twice as wide every few layers, and islands beside it. */
const masks = Array.from({ length: 12 }, (_, layer) => {
  const mask = new Uint8Array(width * height);
  const reach = layer < 4 ? 4 : 2 * layer;
  for (let y = 0; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const isIsland = layer > 5 && x > 50 && y < 8;
      if (isIsland || (Math.abs(x - 25) < reach && Math.abs(y - 25) < reach)) {
        mask[y * width + x] = 255 - ((x + y) % 3) * 40;
      }
    }
  }
  return mask;
});
const maskOptions = { maskWidth: width, maskHeight: height, layerHeight: 0.05, pixelSize: 0.05 };
const model = (changes) =>
  Analysis.create(parameters({ width, height, supportStrength: 12, ...changes }));

async function* asMasks() {
  const slicer = createMaskSlicer(maskOptions);
  for (const mask of masks) yield { mask, slicer };
}

async function picturesOfMasks() {
  const slicer = createMaskSlicer(maskOptions);
  const pictures = [];
  for (const mask of masks) pictures.push((await slicer.next(mask)).pixels);
  return pictures;
}

test('masks are finished and judged as their pictures are', async () => {
  const survey = { pixelSize: 1, layerHeight: 1, minimumHeight: 1 };
  const finished = async (source) => {
    const analysis = Analysis.create(parameters({ width, height, supportStrength: 12 }), {
      survey,
    });
    for await (const _ of analysis.run(source));
    const supports = await analysis.finishSupports({ supportArea: 60 });
    await analysis.close();
    return supports;
  };
  const expected = await finished(await picturesOfMasks());
  assert.ok(expected.supports.length > 0);
  assert.deepEqual(await finished(asMasks()), expected);
});

test('masks give what their pictures give, with and without buffers', async () => {
  const pictures = await picturesOfMasks();
  for (const needBuffer of [false, true]) {
    const expected = await collect(model({ needBuffer }), pictures);
    assert.ok(supportsOf(expected).length > 0);
    assert.deepEqual(await collect(model({ needBuffer }), asMasks()), expected);
  }
});

test('analyse() takes masks, and keeps the order of its calls', async () => {
  const expected = await collect(model(), asMasks());
  const analysis = model();
  const slicer = createMaskSlicer(maskOptions);
  const calls = masks.map((mask) => {
    const own = mask.slice();
    const call = analysis.analyse({ mask: own, slicer });
    // It was copied.
    own.fill(255);
    return call;
  });
  assert.deepEqual(await Promise.all(calls), expected);
  await analysis.close();
});

test('what is no mask of the slicer, or no slicer, is refused and does not count', async () => {
  const analysis = model();
  const slicer = createMaskSlicer(maskOptions);
  const small = createMaskSlicer({ ...maskOptions, maskWidth: 10 });
  const [mask] = masks;
  const wrong = [
    [{ mask: mask.subarray(1), slicer }, /2999 bytes; 3000 are needed/],
    [{ mask: 'grey', slicer }, /must be a Uint8Array/],
    [{ mask, slicer: {} }, /must be a MaskSlicer/],
    [{ mask, slicer: Object.create(slicer) }, /must be a MaskSlicer/],
    [{ mask, slicer: undefined }, /must be a MaskSlicer/],
    [{ mask, slicer: small }, /60 x 50 pixels, but those of the slicer are 10 x 50/],
  ];
  for (const [slice, message] of wrong) {
    await assert.rejects(analysis.analyse(slice), {
      name: 'AnalysisError',
      code: 'ERR_STILTFORGE_SLICE',
      message,
    });
  }
  assert.equal(analysis.sliceCount, 0);
  assert.deepEqual(
    await analysis.analyse({ mask, slicer }),
    (await collect(model(), asMasks()))[0],
  );
  await analysis.close();
  await assert.rejects(analysis.analyse({ mask, slicer }), { code: 'ERR_STILTFORGE_CLOSED' });
});
