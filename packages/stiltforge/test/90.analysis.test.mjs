import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { afterEach, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import vm from 'node:vm';
import stiltforge from 'stiltforge';
import { Analysis, AnalysisError, estimateMemory, groupImageNames } from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';
import { analyse, groupImages, parameters, rectangle, runInChild, slice } from './harness.mjs';

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

test('owedPixels() tells what each slice was owed before its own supports', async () => {
  const analysis = create({ supportStrength: 12 });
  const island = rectangle(8, 6, 4, 0, 8, 3);
  for (const pixels of [rectangle(8, 6, 0, 0, 3, 6), island]) await analysis.analyse(pixels);
  const owed = await analysis.owedPixels();
  assert.ok(owed instanceof Float64Array);
  assert.deepEqual([...owed], [0, 12]);
  await analysis.close();
  await assert.rejects(analysis.owedPixels(), isError('ERR_STILTFORGE_CLOSED', /closed/));
});

test('analyse() keeps the order of calls that do not wait for each other', async () => {
  const analysis = create();
  const results = await Promise.all(stack.map((pixels) => analysis.analyse(pixels)));
  results.forEach((result, i) => {
    assert.equal(result.layerIndex, i);
    assert.equal(result.layer.groups[0].supportedPixel, 6 * i);
  });
});

/** The 192 bytes in every form that a slice may have; the constructors may be another realm's. */
function formsOf(pixels, realm = globalThis) {
  const bytes = new realm.Uint8Array(pixels);
  const inside = new realm.Uint8Array(400);
  inside.set(bytes, 100);
  const shared = new realm.Uint8Array(new realm.SharedArrayBuffer(192));
  shared.set(bytes);
  const clamped = new realm.Uint8ClampedArray(bytes);
  return {
    ArrayBuffer: bytes.slice().buffer,
    Uint8Array: bytes,
    Uint8ClampedArray: clamped,
    Buffer: Buffer.from(bytes.slice().buffer),
    'part of a larger one': inside.subarray(100, 292),
    'its beginning': new realm.Uint8Array(bytes.slice().buffer, 0, 192),
    'shared memory': shared,
    image: { width: 8, height: 6, data: clamped },
    'image of a Buffer': { width: 8, height: 6, data: Buffer.from(bytes) },
  };
}

test('a slice may be a typed array, a Buffer, an image, or a part of a larger or shared one', async () => {
  const analysis = create();
  for (const [form, image] of Object.entries(formsOf(rectangle(8, 6, 0, 0, 2, 2)))) {
    assert.equal((await analysis.analyse(image)).layer.pixelCount, 4, form);
  }
});

test('a slice may come from another realm, in all these forms', async () => {
  const realm = vm.runInContext('globalThis', vm.createContext());
  assert.ok(!(new realm.ArrayBuffer(1) instanceof ArrayBuffer));
  const analysis = create();
  for (const [form, image] of Object.entries(formsOf(rectangle(8, 6, 0, 0, 2, 2), realm))) {
    assert.equal((await analysis.analyse(image)).layer.pixelCount, 4, form);
  }
  assert.equal((await analysis.run(new realm.Array(stack[0])).next()).value.layer.pixelCount, 6);
});

/** The promise API evaluated in a realm of its own, as test runners do; the addon is the one here. */
function analysisOfAnotherRealm() {
  const context = vm.createContext();
  const require = createRequire(new URL('../dist/analysis.js', import.meta.url));
  const modules = new Map();
  const evaluate = (name) => {
    if (!name.startsWith('./')) return require(name);
    const file = require.resolve(name);
    const module = modules.get(file) ?? { exports: {} };
    if (!modules.has(file)) {
      modules.set(file, module);
      const names = ['exports', 'require', 'module'];
      const code = vm.compileFunction(readFileSync(file, 'utf8'), names, {
        parsingContext: context,
      });
      code(module.exports, evaluate, module);
    }
    return module.exports;
  };
  return evaluate('./analysis.js');
}

test('the promise API works in a realm of its own', async () => {
  const other = analysisOfAnotherRealm();
  assert.notEqual(other.Analysis, Analysis);
  open = other.Analysis.create(parameters());
  for (const [form, image] of Object.entries(formsOf(stack[1]))) {
    assert.equal((await open.analyse(image)).layer.pixelCount, 12, form);
  }
  assert.equal((await open.groupImages(0, 0)).width, 2);
  const refused = (code) => (error) => error instanceof other.AnalysisError && error.code === code;
  await assert.rejects(open.analyse(new ArrayBuffer(3)), refused('ERR_STILTFORGE_SLICE'));
  await assert.rejects(open.groupImages(99, 0), refused('ERR_STILTFORGE_INDEX'));
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
  const image = { width: 6, height: 8, data: new Uint8ClampedArray(192) };
  await assert.rejects(
    analysis.analyse(image),
    isError('ERR_STILTFORGE_SLICE', /are 8 x 6 pixels, but this image is 6 x 8\./),
  );
  for (const other of [null, 5, new Uint16Array(96), new DataView(stack[0]), { data: [] }]) {
    await assert.rejects(analysis.analyse(other), isError('ERR_STILTFORGE_SLICE', /A slice is an/));
  }
  const trap = {
    get data() {
      throw undefined;
    },
  };
  await assert.rejects(analysis.analyse(trap), isError('ERR_STILTFORGE_NATIVE', /undefined/));
  assert.equal((await analysis.analyse(stack[0])).layer.pixelCount, 6);
  assert.equal(analysis.sliceCount, 1);
});

test('a support that would hold less than a pixel is refused: it would never be placed', () => {
  for (const supportStrength of [0, 0.5]) {
    assert.throws(() => create({ supportStrength }), {
      code: 'ERR_STILTFORGE_PARAMETER',
      message:
        /: supportStrength is 0(\.5)?, with which no region gets a support: .*at least 1 pixel/,
    });
  }
  return Promise.all([
    create({ supportStrength: 1 }).close(),
    create({ supportStrength: 0, addSupport: false }).close(),
  ]);
});

test('parameters are checked, all faults named at once', () => {
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

test('several analyses at once give what each gives alone, beside the five functions', async () => {
  const strengths = [2, 4, 8, 16];
  const alone = [];
  for (const supportStrength of strengths) alone.push(await wholeTower({ supportStrength }));
  assert.notDeepEqual(alone[0], alone[3]);

  stiltforge.InitAnalyseSlice(parameters({ ...towerModel, supportStrength: 4 }));
  const besides = Promise.all(tower.map((pixels, i) => analyse(pixels, i)));
  const together = await Promise.all(
    strengths.map((supportStrength) => wholeTower({ supportStrength })),
  );
  assert.deepEqual(together, alone);
  assert.deepEqual(await besides, alone[1]);
  stiltforge.CleanPointer();
});

test('an analysis may be open in several threads and started anew while others are', async () => {
  const child = await runInChild(
    `
    import { Worker } from 'node:worker_threads';
    const source = \`
      import { parentPort, workerData } from 'node:worker_threads';
      const { Analysis } = await import(workerData.analysisUrl);
      for (let round = 0; round < 5; round += 1) {
        const analysis = Analysis.create(workerData.settings);
        for await (const { layer } of analysis.run(workerData.slices)) {
          parentPort.postMessage(layer.groups[0].supportedPixel);
        }
        await analysis.close();
      }
    \`;
    const slices = [1, 2, 3].map((i) => rectangle(8, 6, 0, 0, i + 1, 6));
    const workerData = { settings: parameters(), slices, analysisUrl };
    const threads = [0, 1, 2].map(() => new Worker(source, { eval: true, workerData }));
    const got = await Promise.all(
      threads.map(async (thread) => {
        const values = [];
        thread.on('message', (value) => values.push(value));
        await new Promise((resolve) => thread.once('exit', resolve));
        return values.join();
      }),
    );
    const expected = Array(5).fill([0, 12, 18]).join();
    console.log(got.every((values) => values === expected));
    `,
  );
  assert.deepEqual(child, { code: 0, signal: null, stdout: 'true\n', stderr: '', timedOut: false });
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

test('close() that failed leaves the analysis open and works later', async () => {
  const native = loadBinary('binding.node');
  const { Model } = native;
  let fails = true;
  native.Model = class extends Model {
    close() {
      return fails ? Promise.reject(new Error('no thread')) : super.close();
    }
  };
  try {
    create();
  } finally {
    native.Model = Model;
  }
  await assert.rejects(open.close(), isError('ERR_STILTFORGE_NATIVE', /no thread/));
  assert.equal((await open.analyse(stack[0])).layer.pixelCount, 6);
  fails = false;
  await open.close();
  await assert.rejects(open.analyse(stack[0]), isError('ERR_STILTFORGE_CLOSED', /closed/));
});

test('asynchronous disposal closes', async () => {
  const analysis = create();
  await analysis[Symbol.asyncDispose ?? Symbol.for('Symbol.asyncDispose')]();
  await assert.rejects(analysis.analyse(stack[0]), isError('ERR_STILTFORGE_CLOSED', /closed/));
});

test('groupImages() names the eight images of a group', async () => {
  const slices = [rectangle(8, 6, 0, 0, 0, 0), rectangle(8, 6, 1, 1, 6, 5)];
  stiltforge.InitAnalyseSlice(parameters({ supportStrength: 4 }));
  for (const [i, pixels] of slices.entries()) await analyse(pixels, i);
  const raw = await groupImages(1, 1);
  stiltforge.CleanPointer();

  const analysis = create({ supportStrength: 4 });
  for (const pixels of slices) await analysis.analyse(pixels);
  const { width, height, images } = await analysis.groupImages(1, 0);
  assert.deepEqual([width, height], [5, 4]);
  assert.deepEqual(Object.keys(images), [...groupImageNames]);
  groupImageNames.forEach((name, i) => {
    assert.deepEqual(images[name], raw[i]);
  });
});

test('groupImages() of an index that does not exist is refused', async () => {
  const analysis = create();
  await analysis.analyse(stack[0]);
  const no = (message) => isError('ERR_STILTFORGE_INDEX', message);
  await assert.rejects(analysis.groupImages(1, 0), no(/There is no layer 1: 1 layer has been/));
  await assert.rejects(analysis.groupImages(0, 1), no(/no group 1 in layer 0: it has 1 group/));
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

// Every layer starts an island of its own, so that each has supports that no other has.
const tower = Array.from({ length: 7 }, (_, i) =>
  slice(40, 12, (x, y) => (y < 12 && x >= 5 * i && x < 5 * i + 4 ? { blue: 10 * i } : undefined)),
);
const towerModel = { width: 40, height: 12, supportStrength: 6 };

async function wholeTower(changes) {
  const analysis = Analysis.create(parameters({ ...towerModel, ...changes }));
  const results = [];
  for (const pixels of tower) results.push(await analysis.analyse(pixels));
  await analysis.close();
  assert.ok(results.slice(1).every(({ layer }) => layer.groups[0].supports.length > 0));
  return results;
}

/** Takes up to `count` results, then leaves the run as `break` does. */
async function take(run, count) {
  const results = [];
  if (count === 0) return results;
  for await (const result of run) {
    results.push(result);
    if (results.length === count) break;
  }
  return results;
}

// Sources that go on after a run was left: what they gave is gone.
const sources = {
  'an iterator': () => {
    const rest = tower.values();
    return () => rest;
  },
  'an asynchronous iterator': () => {
    const rest = tower.values();
    const iterator = {
      next: async () => {
        await sleep(1);
        return rest.next();
      },
      [Symbol.asyncIterator]: () => iterator,
    };
    return () => iterator;
  },
  'generators over the same rest': () => {
    const rest = [...tower];
    return function* () {
      while (rest.length > 0) yield rest.shift();
    };
  },
  'asynchronous generators over the same rest': () => {
    const rest = [...tower];
    return async function* () {
      for (; rest.length > 0; await sleep(1)) yield rest.shift();
    };
  },
};

for (const [name, makeSource] of Object.entries(sources)) {
  test(`a run left with break is gone on with by the next one, no result lost: ${name}`, async () => {
    const expected = await wholeTower();
    for (let first = 1; first <= tower.length; first += 1) {
      const analysis = create(towerModel);
      const source = makeSource();
      const results = await take(analysis.run(source()), first);
      results.push(...(await take(analysis.run(source()), 1)));
      results.push(...(await take(analysis.run(source()), Infinity)));
      assert.deepEqual(results, expected, `left after ${first}`);
      assert.equal(analysis.sliceCount, tower.length);
      await analysis.close();
    }
  });

  test(`an aborted run is gone on with by the next one, no result lost: ${name}`, async () => {
    const expected = await wholeTower();
    for (let first = 0; first <= tower.length; first += 1) {
      const analysis = create(towerModel);
      const source = makeSource();
      const controller = new AbortController();
      const run = analysis.run(source(), controller);
      const results = [];
      for (let i = 0; i < first; i += 1) results.push((await run.next()).value);
      const waiting = run.next();
      controller.abort(new Error('enough'));
      await assert.rejects(waiting, /enough/);
      results.push(...(await take(analysis.run(source()), Infinity)));
      assert.deepEqual(results, expected, `aborted after ${first}`);
      await analysis.close();
    }
  });
}

test('nothing is taken from an array ahead of the caller', async () => {
  const expected = await wholeTower();
  for (let first = 1; first <= tower.length; first += 1) {
    const analysis = create(towerModel);
    const results = await take(analysis.run(tower), first);
    await sleep(20);
    assert.equal(analysis.sliceCount, first);
    results.push(...(await take(analysis.run(tower.slice(first)), Infinity)));
    assert.deepEqual(results, expected);
    await analysis.close();
  }
});

test('sliceCount tells where the next run goes on', async () => {
  const expected = await wholeTower();
  const analysis = create(towerModel);
  async function* from(layer) {
    for (const pixels of tower.slice(layer)) yield pixels;
  }
  const results = [];
  while (results.length < tower.length) {
    results.push(...(await take(analysis.run(from(analysis.sliceCount)), 2)));
  }
  assert.deepEqual(results, expected);
});

test('a slice that comes after its run was aborted is not lost', async () => {
  const expected = await wholeTower();
  const analysis = create(towerModel);
  const rest = [...tower];
  let release;
  async function* source() {
    yield rest.shift();
    await new Promise((resolve) => {
      release = resolve;
    });
    yield rest.shift();
  }
  const controller = new AbortController();
  const run = analysis.run(source(), controller);
  const results = [(await run.next()).value];
  const waiting = run.next();
  controller.abort();
  await assert.rejects(waiting, { name: 'AbortError' });
  setTimeout(release, 20);
  results.push(...(await take(analysis.run(rest), Infinity)));
  assert.deepEqual(results, expected);
});

test('a wrong slice behind the last result taken is told by the next run', async () => {
  const analysis = create();
  const source = [stack[0], new ArrayBuffer(3), stack[1]].values();
  await take(analysis.run(source), 1);
  await assert.rejects(
    take(analysis.run(source), Infinity),
    isError('ERR_STILTFORGE_SLICE', /holds 3/),
  );
  // The wrong slice is none of the model's, so the right one may take its place.
  assert.equal(analysis.sliceCount, 1);
  assert.equal((await take(analysis.run(source), Infinity))[0].layerIndex, 1);
});

test('a wrong slice stops the source: what lies above it is not analysed', async () => {
  const analysis = create();
  const asked = [];
  function* source() {
    for (const pixels of [stack[0], new ArrayBuffer(3), stack[1]]) {
      asked.push(pixels.byteLength);
      yield pixels;
    }
  }
  await assert.rejects(
    take(analysis.run(source()), Infinity),
    isError('ERR_STILTFORGE_SLICE', /holds 3/),
  );
  assert.deepEqual(asked, [192, 3]);
  assert.equal(analysis.sliceCount, 1);
});

test('a run while another has not ended is refused', async () => {
  const analysis = create();
  const run = analysis.run(stack);
  await run.next();
  await assert.rejects(
    analysis.run(stack).next(),
    isError('ERR_STILTFORGE_BUSY', /Another run\(\) of this analysis has not ended/),
  );
  await run.return();
  assert.equal((await analysis.run(stack).next()).value.layerIndex, 1);
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
