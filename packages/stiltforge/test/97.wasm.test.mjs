// The promise API in WebAssembly gives what binding.node gives.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import * as analysis from 'stiltforge/analysis';
import { checkPrint } from 'stiltforge/check';
import { orient, turnedMesh } from 'stiltforge/orientation';
import * as slicing from 'stiltforge/slicing';
import * as wasm from 'stiltforge/wasm';
import { digest, names, readExpected, readStack } from './golden.mjs';
import { parameters } from './harness.mjs';

const native = { ...analysis, ...slicing, checkPrint, orient, turnedMesh };

/** A slab on two thin legs, leaning: islands, overhang and something to finish. */
const part = Buffer.from(
  [
    ...prism([0, 0, 0], [1, 1, 3], [0, 0]),
    ...prism([8, 8, 0], [1, 1, 3], [0, 0]),
    ...prism([0, 0, 3], [9, 9, 1], [3, 1]),
    ...prism([4, 4, 2], [1, 2, 0.5], [0, 1]),
  ]
    .map(
      ([a, b, c]) =>
        `facet normal 0 0 0 outer loop ${[a, b, c].map((p) => `vertex ${p.join(' ')}`).join(' ')} endloop endfacet\n`,
    )
    .join('')
    .replace(/^/, 'solid part\n')
    .concat('endsolid part\n'),
);

/** The triangles of a box whose top is shifted. */
function prism([x, y, z], [width, depth, height], [leanX, leanY]) {
  const corner = (i) => [
    x + (i & 1 ? width : 0) + (i & 4 ? leanX : 0),
    y + (i & 2 ? depth : 0) + (i & 4 ? leanY : 0),
    z + (i & 4 ? height : 0),
  ];
  const quads = [
    [0, 2, 3, 1],
    [4, 5, 7, 6],
    [0, 1, 5, 4],
    [2, 6, 7, 3],
    [0, 4, 6, 2],
    [1, 3, 7, 5],
  ];
  return quads.flatMap(([a, b, c, d]) => [[a, b, c].map(corner), [a, c, d].map(corner)]);
}

test('before load() a call says what to do', () => {
  assert.throws(() => wasm.Analysis.create(parameters()), {
    name: 'AnalysisError',
    code: 'ERR_STILTFORGE_BINARY',
    message: /load\(\)/,
  });
});

test('what cannot be loaded is named, and another try may follow', async () => {
  await assert.rejects(wasm.load(new Uint8Array(8)), {
    name: 'AnalysisError',
    code: 'ERR_STILTFORGE_BINARY',
    message: /what was given/,
  });
  await wasm.load();
});

// The five functions alone take a strength of 0.
for (const name of names.filter((stack) => stack !== '15-zero-strength')) {
  test(`stack ${name} gives the expected layers, buffers and group images`, async () => {
    const { parameters, slices } = readStack(name);
    const expected = readExpected(name);
    for (const needBuffer of [true, false]) {
      const analysis = wasm.Analysis.create({ ...parameters, needBuffer });
      let i = 0;
      for await (const result of analysis.run(slices)) {
        const line = expected[i];
        const at = `${name}, slice ${i}, needBuffer ${needBuffer}`;
        assert.equal(JSON.stringify(result.layer), JSON.stringify(line.layer), at);
        for (const buffer of needBuffer
          ? ['pixelBuffer', 'topPixelBuffer', 'supportedPixels']
          : []) {
          assert.equal(digest(result[buffer]), line[buffer], `${at}, ${buffer}`);
        }
        i += 1;
      }
      for (const line of expected.slice(slices.length)) {
        const { width, height, images } = await analysis.groupImages(
          line.layerIndex,
          line.groupIndex - 1,
        );
        const at = `${name}, group ${line.groupIndex} of layer ${line.layerIndex}`;
        assert.deepEqual([width, height], [line.width, line.height], at);
        assert.deepEqual(Object.values(images).map(digest), line.images, at);
      }
      await analysis.close();
    }
  });
}

/** Everything on the road of a part, by one of the two. */
async function roadOf(api) {
  const { positions, ...file } = await api.readMesh(part, { name: 'part.stl' });
  const print = { ...api.defaultPrint, layerHeight: 0.1, pixelSize: 0.1 };
  const slicer = api.createSlicer({ positions, ...print, margin: 2 });
  const model = api.analysisParameters(print, api.defaultSupport, slicer);
  const survey = { pixelSize: print.pixelSize, layerHeight: print.layerHeight };
  const analysis = api.Analysis.create(model, { survey });
  const layers = [];
  for await (const result of analysis.run(slicer)) layers.push(result);
  const finished = await analysis.finishSupports({ supportArea: 15 });
  const verdict = await analysis.judgeSupports();
  const owed = await analysis.owedPixels();
  await analysis.close();
  const points = finished.supports.map(({ layer, x, y }) => ({ layer, x, y }));
  const given = api.Survey.create({ width: slicer.width, height: slicer.height, ...survey });
  await given.addLayers(slicer, points);
  const check = await api.checkPrint(slicer, {
    layerHeight: print.layerHeight,
    pixelWidth: print.pixelSize,
    screenWidth: print.screenWidth,
    screenHeight: print.screenHeight,
    points: points.map(({ layer, x, y }) => ({ layer, column: x, row: y })),
  });
  const masks = api.createMaskSlicer({
    maskWidth: 40,
    maskHeight: 30,
    layerHeight: 0.1,
    pixelSize: 0.1,
  });
  const mask = Uint8Array.from({ length: 1200 }, (_, i) => (i * 7919) % 256);
  return {
    file,
    positions,
    report: slicer.report,
    model,
    layers,
    finished,
    verdict,
    owed,
    judged: await given.judge(),
    check,
    slice: await slicer.slice(35),
    runs: await slicer.runs(30, 8),
    masked: await masks.next(mask),
    table: api.parameterTable(),
    turned: api.turnedMesh(positions, [30, 0, 45]),
    best: await api.orient({ positions, directions: 20 }),
  };
}

test('the whole road of a part gives the same, from the bytes of its mesh to the finished points', async () => {
  const [expected, actual] = [await roadOf(native), await roadOf(wasm)];
  assert.ok(expected.finished.supports.length > 0);
  for (const key of Object.keys(expected)) assert.deepEqual(actual[key], expected[key], key);
});

test('less memory is expected than of the addon, whose pointers are twice as large', () => {
  const [wide, narrow] = [native, wasm].map((api) => api.estimateMemory(parameters()));
  assert.ok(narrow.total < wide.total);
  assert.equal(narrow.fixed, wide.fixed);
});

test('errors have the words and the code of the addon', async () => {
  const mistakes = [
    (api) => api.readMesh(Buffer.from('v 0 0 0\n'), { name: 'points.obj' }),
    (api) => api.readMesh(7),
    (api) => api.createSlicer({ positions: new Float32Array(9) }),
    (api) => api.createSlicer({ ...api.defaultPrint, positions: new Float32Array(9) }),
    (api) => api.createMaskSlicer({ maskWidth: 0, maskHeight: 4 }),
    (api) =>
      api.Analysis.create({ ...parameters(), width: 65535, height: 65535, needBuffer: true }),
    (api) => api.Analysis.create(parameters()).analyse(new Uint8Array(7)),
    (api) => api.Analysis.create(parameters()).analyse({ rowStart: new Uint8Array(7) }),
    (api) => api.Analysis.create(parameters()).groupImages(3, 0),
    (api) => api.openPrinterFile(Buffer.from('PK\x03\x04'), { name: 'plate.sl1' }),
  ];
  const outcome = async (mistake, api) => {
    try {
      await mistake(api);
    } catch ({ name, code, message }) {
      return { name, code, message };
    }
    return assert.fail(`${mistake} is none`);
  };
  for (const mistake of mistakes) {
    assert.deepEqual(await outcome(mistake, wasm), await outcome(mistake, native));
  }
});

test('a path is answered by a sentence, since there are no files', async () => {
  await assert.rejects(wasm.readMesh('part.stl'), {
    code: 'ERR_STILTFORGE_MESH',
    message: /part\.stl: a module in WebAssembly opens no files.*bytes/i,
  });
});
