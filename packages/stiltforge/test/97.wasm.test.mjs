// The promise API in WebAssembly gives what binding.node gives.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import * as analysis from 'stiltforge/analysis';
import { checkPrint } from 'stiltforge/check';
import { orient, turnedMesh } from 'stiltforge/orientation';
import { buildScaffold } from 'stiltforge/scaffold';
import * as slicing from 'stiltforge/slicing';
import * as wasm from 'stiltforge/wasm';
import { box } from './boxes.mjs';
import { digest, names, readExpected, readStack } from './golden.mjs';
import { parameters, rectangle, runsOf } from './harness.mjs';
import { roadOf } from './road.mjs';

const native = { ...analysis, ...slicing, checkPrint, orient, turnedMesh, buildScaffold };

test('before load() a call says what to do', () => {
  assert.throws(() => wasm.Analysis.create(parameters()), {
    name: 'AnalysisError',
    code: 'ERR_STILTFORGE_BINARY',
    message: /load\(\)/,
  });
});

/** Of the module. */
let memory;

test('what cannot be loaded is named, and another try may follow', async (t) => {
  await assert.rejects(wasm.load(new Uint8Array(8)), {
    name: 'AnalysisError',
    code: 'ERR_STILTFORGE_BINARY',
    message: /what was given/,
  });
  const { instantiate } = WebAssembly;
  t.mock.method(WebAssembly, 'instantiate', async (...words) => {
    const result = await instantiate.apply(WebAssembly, words);
    ({ memory } = (result.instance ?? result).exports);
    return result;
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

test('the whole road of a part gives the same, from the bytes of its mesh to the finished points', async () => {
  const [expected, actual] = [await roadOf(native), await roadOf(wasm)];
  assert.ok(expected.finished.supports.length > 0);
  assert.deepEqual(expected.turnedTriangles, Uint32Array.of(1));
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

test('a search of orientations tells how far it is, though nothing else of the host runs', async () => {
  const positions = Float32Array.from(box([0, 0, 0], [5, 20, 30]));
  const coarse = { pixelSize: 0.25, layerHeight: 0.25, directions: 300, confirm: false };
  const told = [];
  await wasm.orient({
    ...{ positions, ...coarse },
    progress: (done, total) => told.push([done, total]),
  });
  assert.ok(told.length > 0);
  for (const [done, total] of told) assert.ok(done > 0 && done <= total, `${done} of ${total}`);

  const stop = new AbortController();
  const reason = new Error('enough');
  const cancelled = wasm.orient({
    ...{ positions, ...coarse, directions: 100_000, signal: stop.signal },
    progress: () => stop.abort(reason),
  });
  await assert.rejects(cancelled, reason);
});

test('memory stays bounded: what slices and closed analyses took is given back', async () => {
  const [width, height] = [600, 600];
  const picture = rectangle(width, height, 50, 50, 550, 550);
  const runs = runsOf(picture, width, height);
  const round = async () => {
    const analysis = wasm.Analysis.create(parameters({ width, height, needBuffer: true }));
    for (const slice of [picture, runs, picture]) await analysis.analyse(slice);
    await analysis.close();
  };
  for (let i = 0; i < 3; i += 1) await round();
  const { byteLength } = memory.buffer;
  for (let i = 0; i < 10; i += 1) await round();
  assert.equal(memory.buffer.byteLength, byteLength);
});

test('slices that no address reaches are refused before anything is written', async () => {
  const [width, height] = [40000, 40000];
  assert.throws(() => wasm.Analysis.create(parameters({ width, height })), {
    code: 'ERR_STILTFORGE_PARAMETER',
    message: /40000 x 40000 pixels is too large/,
  });
  const masks = wasm.createMaskSlicer({
    maskWidth: width,
    maskHeight: height,
    layerHeight: 0.05,
    pixelSize: 0.05,
  });
  await assert.rejects(masks.next(new Uint8Array(1)), /has 1 bytes/);
});

test('a path is answered by a sentence, since there are no files', async () => {
  await assert.rejects(wasm.readMesh('part.stl'), {
    code: 'ERR_STILTFORGE_MESH',
    message: /part\.stl: a module in WebAssembly opens no files.*bytes/i,
  });
});
