import assert from 'node:assert/strict';
import { afterEach, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import stiltforge from 'stiltforge';
import {
  Analysis,
  AnalysisError,
  estimateMemory,
  groupImageNames,
  parameterNames,
} from 'stiltforge/analysis';
import { analyse, groupImages, parameters, rectangle } from './harness.mjs';

let open;
function create(changes) {
  open = Analysis.create(parameters(changes));
  return open;
}
afterEach(() => open?.close());

const stack = Array.from({ length: 8 }, (_, i) => rectangle(8, 6, 0, 0, i + 1, 6));

const isError = (code, message) => (error) => {
  assert.ok(error instanceof AnalysisError);
  assert.equal(error.name, 'AnalysisError');
  assert.equal(error.code, code);
  assert.match(error.message, message);
  return true;
};

test('run() yields the results of a stack in order, the same as the five functions', async () => {
  stiltforge.InitAnalyseSlice(parameters());
  const expected = [];
  for (const [i, pixels] of stack.entries()) expected.push(await analyse(pixels, i));
  stiltforge.CleanPointer();

  const analysis = create();
  const results = [];
  for await (const result of analysis.run(stack)) results.push(result);
  assert.deepEqual(results, expected);
  assert.equal(analysis.sliceCount, 8);
});

test('analyse() keeps the order of calls that do not wait for each other', async () => {
  const analysis = create();
  const results = await Promise.all(stack.map((pixels) => analysis.analyse(pixels)));
  results.forEach((result, i) => {
    assert.equal(result.layerIndex, i);
    assert.equal(result.layer.groups[0].supportedPixel, 6 * i);
  });
});

test('a slice may be a typed array, a Buffer, or a part of a larger or shared one', async () => {
  const analysis = create();
  const pixels = new Uint8Array(rectangle(8, 6, 0, 0, 2, 2));
  const inside = new Uint8Array(400);
  inside.set(pixels, 100);
  const shared = new Uint8Array(new SharedArrayBuffer(192));
  shared.set(pixels);
  const forms = [
    pixels.slice().buffer,
    pixels,
    new Uint8ClampedArray(pixels),
    Buffer.from(pixels),
    inside.subarray(100, 292),
    new Uint8Array(inside.buffer, 100, 192),
    shared,
  ];
  for (const form of forms) assert.equal((await analysis.analyse(form)).layer.pixelCount, 4);
});

test('a slice of another size or kind is refused, and the analysis goes on', async () => {
  const analysis = create();
  const size = /A slice of 8 x 6 pixels is 192 bytes, 4 a pixel, but this one holds 191/;
  await assert.rejects(
    analysis.analyse(new ArrayBuffer(191)),
    isError('ERR_STILTFORGE_SLICE', size),
  );
  await assert.rejects(analysis.analyse([1, 2]), isError('ERR_STILTFORGE_SLICE', /A slice is an/));
  const detached = new ArrayBuffer(192);
  structuredClone(detached, { transfer: [detached] });
  await assert.rejects(analysis.analyse(detached), isError('ERR_STILTFORGE_SLICE', /holds 0/));
  assert.equal((await analysis.analyse(stack[0])).layer.pixelCount, 6);
  assert.equal(analysis.sliceCount, 1);
});

test('parameters are checked, all faults named at once', () => {
  assert.equal(parameterNames.length, 28);
  const faults = { width: 0, height: 70000, needBuffer: 1, ghostRadius: NaN, maxGhost: '200' };
  const wrong = parameters(faults);
  delete wrong.anglePart;
  assert.throws(
    () => Analysis.create(wrong),
    (error) => {
      isError('ERR_STILTFORGE_PARAMETER', /^Wrong parameters: /)(error);
      assert.match(error.message, /width is 0, not a whole number from 1 to 65535/);
      assert.match(error.message, /ghostRadius is NaN, not a number from 0 to 4096/);
      assert.match(error.message, /needBuffer is 1, not true or false/);
      assert.match(error.message, /anglePart is missing/);
      assert.match(error.message, /maxGhost/);
      assert.match(error.message, /height/);
      return true;
    },
  );
});

test('parameters that are no object are refused', () => {
  for (const [value, words] of [
    [undefined, /parameters are undefined, not an object/],
    [null, /parameters are null, not an object/],
    ['28', /parameters are 28, not an object/],
  ]) {
    for (const take of [Analysis.create, estimateMemory]) {
      assert.throws(() => take(value), { code: 'ERR_STILTFORGE_PARAMETER', message: words });
    }
  }
});

test('run() of something that holds no slices is refused', async () => {
  create();
  for (const source of [null, undefined, 5, new ArrayBuffer(64)]) {
    await assert.rejects(open.run(source).next(), {
      name: 'AnalysisError',
      code: 'ERR_STILTFORGE_SLICE',
      message: /iterable of slices.*analyse\(\)/,
    });
  }
});

test('the parameters are a frozen copy', () => {
  const given = parameters();
  open = Analysis.create(given);
  given.width = 1;
  assert.equal(open.parameters.width, 8);
  assert.throws(() => {
    open.parameters.width = 3;
  }, TypeError);
});

test('one analysis at a time', async () => {
  const first = create();
  assert.throws(
    () => Analysis.create(parameters()),
    isError('ERR_STILTFORGE_MODEL_OPEN', /Another Analysis is open/),
  );
  await first.close();
  create();
});

test('a closed analysis refuses work, close() may be called again', async () => {
  const analysis = create();
  const unfinished = analysis.analyse(stack[0]);
  await analysis.close();
  await analysis.close();
  assert.equal((await unfinished).layer.pixelCount, 6);
  const closed = isError('ERR_STILTFORGE_CLOSED', /The analysis is closed/);
  await assert.rejects(analysis.analyse(stack[0]), closed);
  await assert.rejects(analysis.groupImages(0, 0), closed);
});

test('asynchronous disposal closes', async () => {
  const analysis = create();
  await analysis[Symbol.asyncDispose]();
  await assert.rejects(analysis.analyse(stack[0]), isError('ERR_STILTFORGE_CLOSED', /closed/));
});

test('after a failed slice the analysis refuses what would be wrong', async () => {
  const analysis = create();
  // Behind its back: a smaller model, then the old size again from a call that fails half-way.
  stiltforge.InitAnalyseSlice(parameters({ width: 4, height: 3 }));
  assert.throws(() => stiltforge.InitAnalyseSlice(parameters({ numLayer: 'x' })));
  await assert.rejects(
    analysis.analyse(stack[7]),
    isError('ERR_STILTFORGE_NATIVE', /_M_range_check/),
  );
  await assert.rejects(
    analysis.analyse(stack[7]),
    isError('ERR_STILTFORGE_CLOSED', /An earlier slice failed/),
  );
});

test('groupImages() names the eight images of a group', async () => {
  const analysis = create({ supportStrength: 4 });
  await analysis.analyse(rectangle(8, 6, 0, 0, 0, 0));
  await analysis.analyse(rectangle(8, 6, 1, 1, 6, 5));
  const { width, height, images } = await analysis.groupImages(1, 0);
  assert.deepEqual([width, height], [5, 4]);
  assert.deepEqual(Object.keys(images), [...groupImageNames]);
  const raw = await groupImages(1, 1);
  groupImageNames.forEach((name, i) => {
    assert.deepEqual(images[name], raw[i]);
  });
});

test('groupImages() of an index that does not exist is refused', async () => {
  const analysis = create();
  await analysis.analyse(stack[0]);
  const no = (message) => isError('ERR_STILTFORGE_INDEX', message);
  await assert.rejects(analysis.groupImages(1, 0), no(/There is no layer 1/));
  await assert.rejects(analysis.groupImages(0, 1), no(/There is no group 2 in layer 0/));
  await assert.rejects(analysis.groupImages(-1, 0), no(/layer index is -1/));
  await assert.rejects(analysis.groupImages(0, 0.5), no(/group index is 0.5/));
});

test('run() asks for the next slice while one is analysed, and no further', async () => {
  const analysis = create();
  const pulled = [];
  async function* source() {
    for (const [i, pixels] of stack.entries()) {
      pulled.push(i);
      yield pixels;
    }
  }
  const results = analysis.run(source());
  await results.next();
  await sleep(100);
  // Slice 0 is with the caller, slice 1 analysed, slice 2 not asked for yet.
  assert.deepEqual(pulled, [0, 1]);
  await results.next();
  await sleep(100);
  assert.deepEqual(pulled, [0, 1, 2]);
  await results.return();
});

test('run() delivers a result without waiting for a slow source', async () => {
  const analysis = create();
  let release;
  async function* source() {
    yield stack[0];
    await new Promise((resolve) => {
      release = resolve;
    });
    yield stack[1];
  }
  const results = analysis.run(source());
  const first = await results.next();
  assert.equal(first.value.layerIndex, 0);
  release();
  assert.equal((await results.next()).value.layerIndex, 1);
  assert.equal((await results.next()).done, true);
});

test('a caller that stops early ends the source', async () => {
  const analysis = create();
  let ended = false;
  async function* source() {
    try {
      for (;;) yield stack[0];
    } finally {
      ended = true;
    }
  }
  for await (const result of analysis.run(source())) if (result.layerIndex === 2) break;
  assert.equal(ended, true);
});

test('an exception of the source comes out of run() after the results before it', async () => {
  const analysis = create();
  function* source() {
    yield stack[0];
    yield stack[1];
    throw new Error('the disk is gone');
  }
  let results = 0;
  await assert.rejects(async () => {
    for await (const result of analysis.run(source())) results += result.layer.groupCount;
  }, /the disk is gone/);
  assert.equal(results, 2);
});

test('a wrong slice in the source comes out of run() as an AnalysisError', async () => {
  const analysis = create();
  await assert.rejects(
    async () => {
      for await (const result of analysis.run([stack[0], new ArrayBuffer(3)])) assert.ok(result);
    },
    isError('ERR_STILTFORGE_SLICE', /holds 3/),
  );
});

test('an abort signal ends run() with its reason, even when the source is stuck', async () => {
  const analysis = create();
  const controller = new AbortController();
  async function* source() {
    yield stack[0];
    await new Promise(() => {});
  }
  const results = analysis.run(source(), { signal: controller.signal });
  await results.next();
  setTimeout(() => controller.abort(new Error('enough')), 20);
  await assert.rejects(results.next(), /enough/);
});

test('an aborted slice rejects at once, and close() waits for its work', async () => {
  const analysis = create({ width: 400, height: 400, ghostRadius: 30 });
  const controller = new AbortController();
  const big = analysis.analyse(rectangle(400, 400, 0, 0, 400, 400), { signal: controller.signal });
  controller.abort();
  await assert.rejects(big, { name: 'AbortError' });
  await assert.rejects(analysis.analyse(stack[0], { signal: controller.signal }), {
    name: 'AbortError',
  });
  await analysis.close();
  create();
});

test('an empty source gives no results', async () => {
  const analysis = create();
  assert.equal((await analysis.run([]).next()).done, true);
});
