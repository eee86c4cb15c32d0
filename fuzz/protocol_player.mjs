// One random sequence, given by its seed: in this process, and in the worker threads that it starts.

import { createHash } from 'node:crypto';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { isMainThread, Worker } from 'node:worker_threads';
import stiltforge from '../packages/stiltforge/index.mjs';
import { loadBinary } from '../packages/stiltforge/load.cjs';
import { parameters, runsOf, slice } from '../packages/stiltforge/test/harness.mjs';
import {
  below,
  brokenPromise,
  chance,
  fail,
  mistreat,
  oddNumbers,
  oddValues,
  pick,
  random,
  seed,
  Thrown,
} from './protocol_chance.mjs';
import { randomSurveyOptions, surveyActions } from './protocol_surveys.mjs';

const { Model, Survey, Slicer, MaskSlicer, readMesh } = loadBinary('binding.node');

let calls = 0;
let size = { width: 0, height: 0 };
const waiting = []; // jobs that were accepted, in order

process.on('uncaughtException', (error) => {
  if (!(error instanceof Thrown)) fail(`unexpected exception ${error?.stack ?? error}`);
});

function attempt(name, ...args) {
  calls += 1;
  try {
    stiltforge[name](...args);
    return true;
  } catch (error) {
    if (!(error instanceof Error) || error.message === '') fail(`${name} threw ${String(error)}`);
    return false;
  }
}

// A callback that checks that it is called once, in order, with what it should get.
function callback(kind) {
  const job = { kind, done: false };
  const called = (...args) => {
    if (job.done) fail(`a ${kind} callback was called twice`);
    if (waiting[0] !== job) fail(`a ${kind} callback was called out of order`);
    job.done = true;
    waiting.shift();
    if (!(args[0] instanceof Error)) checkResult(kind, args);
    if (chance(0.3)) step();
    if (chance(0.1)) throw new Thrown();
  };
  return { job, called };
}

function checkResult(kind, args) {
  if (kind === 'group') {
    const [width, height] = args.slice(8);
    const fits = args.slice(0, 8).every((image) => image.length === width * height * 4);
    if (args.length !== 10 || !fits) fail('a group came with images of the wrong size');
    return;
  }
  const [{ layer, width, height, pixelBuffer, needBuffer }] = args;
  const material = layer.groups.reduce((sum, group) => sum + group.numPixel, 0);
  if (layer.pixelCount !== material) fail('the regions do not add up to the material');
  if (layer.groupCount !== layer.groups.length) fail('groupCount is not the number of groups');
  if (needBuffer && pixelBuffer?.length !== width * height * 4) fail('a buffer has the wrong size');
  for (const group of layer.groups) {
    for (const { x, y } of group.supports) {
      const inside = x >= group.xMin && x < group.xMax && y >= group.yMin && y < group.yMax;
      if (!inside) fail('a support lies outside its region');
    }
  }
}

function randomParameters() {
  const values = parameters({
    width: 1 + below(120),
    height: 1 + below(120),
    needBuffer: chance(0.5),
    addSupport: chance(0.9),
    supportStrength: pick(1, 5, 50, 500),
    ghostRadius: pick(0, 1, 5.5, 20, 60),
    maxGhost: pick(0, 3, 200),
    maxVoronoiIteration: pick(0, 1, 4, 30),
  });
  const keys = Object.keys(values);
  for (let i = below(4); i > 0; i -= 1) {
    const [key] = keys.splice(below(keys.length), 1);
    const change = random();
    if (change < 0.5) values[key] = pick(...oddNumbers);
    else if (change < 0.65) values[key] = pick(...oddValues);
    else if (change < 0.72) delete values[key];
    else if (change < 0.75 && keys.includes('ghostRadius'))
      values.ghostRadius = pick(1000, 4096, 4097, 40000);
    else {
      Object.defineProperty(values, key, {
        get() {
          if (chance(0.3)) throw new Thrown();
          step();
          return pick(1, 10, true);
        },
      });
    }
  }
  return values;
}

// Sometimes outside the pixel contract: any alpha, coloured background.
function randomPixels({ width, height }) {
  const pixels = new Uint8Array(width * height * 4);
  const wild = chance(0.1);
  const [period, left, top, blue] = [2 + below(30), below(width), below(height), below(256)];
  for (let i = 0; i < width * height; i += 1) {
    const [x, y] = [i % width, Math.floor(i / width)];
    const solid = chance(0.02) || (x >= left && y >= top && x % period > 0 && y % period > 0);
    if (wild) pixels.set([below(3), below(256), below(256), pick(255, 255, below(256))], i * 4);
    else pixels.set(solid ? [200, below(256), (blue + x) % 256, 255] : [0, 0, 0, 255], i * 4);
  }
  return pixels.buffer;
}

function randomSlice() {
  if (chance(0.9)) return randomPixels(size);
  const detached = new ArrayBuffer(64);
  structuredClone(detached, { transfer: [detached] });
  return pick(
    detached,
    new ArrayBuffer(below(100)),
    new SharedArrayBuffer(64),
    new Uint8Array(64),
    Buffer.alloc(64),
    ...oddValues,
  );
}

const index = () =>
  chance(0.8) ? below(6) : pick(-1, 65535, 65536, 65537, 2 ** 32, NaN, ...oddValues);

function startJob(kind, name, ...args) {
  const { job, called } = callback(kind);
  waiting.push(job);
  const given = chance(0.97) ? called : pick(...oddValues.slice(0, -1));
  if (!attempt(name, ...args, given)) waiting.splice(waiting.indexOf(job), 1);
}

const slicers = []; // { slicer, layers, bytes, materialPixels } of boxes that fill their slices
const maskSlicers = [];
let promised = 0; // slices whose promises have not settled

function randomBuffer(bytes) {
  return pick(
    () => new ArrayBuffer(bytes),
    () => new ArrayBuffer(bytes, { maxByteLength: bytes + below(2) * 5000 }),
    () => new ArrayBuffer(bytes + pick(-1, 1, 1000)),
    () => new SharedArrayBuffer(bytes),
  )();
}

async function watch(name, promise, { bytes, materialPixels }) {
  promised += 1;
  calls += 1;
  try {
    const slice = await promise;
    if (slice.pixels.byteLength !== bytes) fail(`${name} gave pixels of the wrong size`);
    const found = new Uint8Array(slice.pixels).reduce(
      (count, byte, i) => count + (i % 4 === 0 && byte === 255 ? 1 : 0),
      0,
    );
    const expected = materialPixels ?? slice.materialPixels;
    if (found !== expected || found !== slice.materialPixels) fail(`${name} gave a wrong slice`);
  } catch (error) {
    if (!(error instanceof Error) || error.message === '') fail(`${name} gave ${String(error)}`);
  } finally {
    promised -= 1;
  }
}

function boxCorners(width, depth, height) {
  const corner = (i) => [i & 1 ? width : 0, i & 2 ? depth : 0, i & 4 ? height : 0];
  const faces = [0x0231, 0x4576, 0x0154, 0x2673, 0x0462, 0x1375].map((digits) =>
    [12, 8, 4, 0].map((shift) => (digits >> shift) & 7),
  );
  const triangles = faces.flatMap(([a, b, c, d]) => [a, b, c, a, c, d]);
  return new Float32Array(triangles.flatMap(corner));
}

function startSlicer() {
  // Even, so that a box in the middle of the screen covers whole pixels.
  const [width, depth, layers] = [2 + 2 * below(30), 2 + 2 * below(30), 1 + below(30)];
  const options = {
    positions: boxCorners(width, depth, layers),
    layerHeight: 1,
    pixelSize: 1,
    screenWidth: 100,
    screenHeight: 100,
  };
  const usual = chance(0.7);
  if (!usual) options[pick(...Object.keys(options))] = pick(...oddNumbers, ...oddValues);
  const bytes = 4 * width * depth;
  try {
    const slicer = new Slicer(options);
    if (usual) slicers.push({ slicer, layers, bytes, materialPixels: width * depth });
  } catch (error) {
    if (usual || !(error instanceof Error) || error.message === '') fail(`Slicer threw ${error}`);
  }
}

function startSlice() {
  if (slicers.length === 0) return;
  const box = slicers[below(slicers.length)];
  const layer = chance(0.9) ? below(box.layers) : pick(...oddNumbers, ...oddValues);
  const recycled = chance(0.5) ? undefined : chance(0.9) ? randomBuffer(box.bytes) : 'text';
  watch('Slicer.slice', box.slicer.slice(layer, recycled), box);
  if (typeof recycled === 'object') mistreat(recycled);
}

function startMaskSlicer() {
  const [maskWidth, maskHeight] = [1 + below(60), 1 + below(60)];
  const options = { maskWidth, maskHeight, layerHeight: 1, pixelSize: 1 };
  maskSlicers.push({ slicer: new MaskSlicer(options), pixels: maskWidth * maskHeight });
}

function startMask() {
  if (maskSlicers.length === 0) return;
  const { slicer, pixels } = maskSlicers[below(maskSlicers.length)];
  const buffer = randomBuffer(pixels);
  const mask = new Uint8Array(buffer).fill(pick(0, 127, 255));
  const recycled = chance(0.5) ? undefined : pick(buffer, randomBuffer(4 * pixels));
  const materialPixels = mask[0] === 255 ? pixels : 0;
  const given = chance(0.95) ? mask : pick(buffer, ...oddValues);
  watch('MaskSlicer.next', slicer.next(given, recycled), { bytes: 4 * pixels, materialPixels });
  mistreat(buffer);
}

const meshText = Buffer.from(
  'v 0 0 0\nv 9 0 0\nv 0 9 0\nv 0 0 9\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n',
);

async function startReading() {
  const buffer = randomBuffer(meshText.length);
  const bytes = new Uint8Array(buffer).fill(0x20);
  bytes.set(meshText.subarray(0, bytes.length));
  const isWhole = bytes.length >= meshText.length;
  const source = chance(0.9) ? bytes : pick(buffer, import.meta.url, ...oddValues);
  const controller = new AbortController();
  const promise = readMesh(source, { name: 'part.obj', signal: controller.signal });
  promised += 1;
  calls += 1;
  mistreat(buffer);
  if (chance(0.1)) controller.abort();
  try {
    const { positions, objects } = await promise;
    if (positions.length !== 9 * objects[0].triangles) fail('a mesh has the wrong size');
    if (isWhole && positions.length !== 36) fail('a mesh was not read as it was');
  } catch (error) {
    if (!(error instanceof Error) || error.message === '') fail(`readMesh gave ${String(error)}`);
    if (isWhole && source === bytes && error.code !== 'ABORT_ERR') fail(error.message);
  } finally {
    promised -= 1;
  }
}

const models = []; // { object, size, closed, ended: its supports were judged or finished }

function startBindingModel() {
  const usual = chance(0.7);
  const size = { width: 1 + below(60), height: 1 + below(60) };
  const box = slicers[below(slicers.length)];
  if (box && chance(0.5))
    Object.assign(size, { width: box.slicer.width, height: box.slicer.height });
  const values = usual
    ? parameters({ ...size, needBuffer: chance(0.4), supportStrength: pick(1, 5, 50) })
    : randomParameters();
  const survey = chance(0.5) ? randomSurveyOptions(step) : undefined;
  try {
    const object = new Model(values, survey);
    if (usual) models.push({ object, size });
    if (models.length > 6) models.shift();
  } catch (error) {
    if (error instanceof Thrown) return;
    if ((usual && !survey) || !(error instanceof Error) || error.message === '')
      fail(`Model threw ${error}`);
  }
}

/** A call of a model or a survey: what it refuses it throws with a code, what fails at work it rejects with one. */
function callObject(name, entry, call, check) {
  calls += 1;
  const label = `${entry.object.constructor.name}.${name}`;
  const isLate = entry.ended && /^(analyse|add)/.test(name);
  const wrong = (error) => {
    if (error instanceof Thrown || error instanceof TypeError) return;
    const known = /^ERR_STILTFORGE_(SLICE|CLOSED|INDEX|MEMORY|PARAMETER)$/.test(error?.code);
    if (!known || error.message === '') fail(`${label} gave ${error?.stack ?? error}`);
  };
  const right = (result) => {
    if (isLate) fail(`${label} took a layer after the end`);
    check(result);
  };
  try {
    const promise = call();
    if (entry.closed && name !== 'close') fail(`${label} took work after close()`);
    promised += 1;
    promise.then(right, wrong).finally(() => {
      promised -= 1;
    });
    return true;
  } catch (error) {
    wrong(error);
    return false;
  }
}

const modelAtHand = () => models[below(models.length)];

function checkSlices(results) {
  for (const result of results) checkResult('slice', [result]);
}

function startModelPixels() {
  const entry = modelAtHand();
  if (!entry) return;
  const pixels = chance(0.9) ? randomPixels(entry.size) : randomSlice();
  // Of nothing, and so of memory that was taken away, there is no view.
  const asView = chance(0.3) && pixels instanceof ArrayBuffer && pixels.byteLength > 0;
  const given = asView ? new Uint8Array(pixels) : pixels;
  const check = (result) => checkSlices([result]);
  callObject('analysePixels', entry, () => entry.object.analysePixels(given), check);
  if (pixels instanceof ArrayBuffer) mistreat(pixels);
}

/** Runs of a picture, spoilt in some cases: other numbers, other arrays, memory that goes away. */
function randomRuns({ width, height }) {
  const runs = runsOf(randomPixels({ width, height }), width, height);
  const parts = [runs, runs.overhang];
  const put = (part, key, property) =>
    Object.defineProperty(part, key, { configurable: true, enumerable: true, ...property });
  // Of such memory the player itself can't read any more.
  const goneAway = new Set();
  const spoils = {
    value: (_part, _key, array) => {
      if (array.length > 0)
        array[below(array.length)] = pick(0, 1, width, width + 1, 255, 65535, -1);
    },
    length: (part, key, array) =>
      put(part, key, { value: array.slice?.(below(3), array.length - below(3)) }),
    kind: (part, key, array) =>
      put(part, key, { value: pick([...array], new Float64Array(4), ...oddValues) }),
    shared: (part, key, array) =>
      put(part, key, { value: new array.constructor(new SharedArrayBuffer(8)) }),
    detached: (_part, _key, { buffer }) => {
      goneAway.add(buffer);
      mistreat(buffer);
    },
    getter: (part, key, array) =>
      put(part, key, {
        get() {
          if (chance(0.3)) throw new Thrown();
          mistreat(array.buffer);
          step();
          return array;
        },
      }),
  };
  const arrays = parts.flatMap((part) =>
    Object.entries(part)
      .filter(([, value]) => ArrayBuffer.isView(value))
      .map(([key, array]) => [part, key, array]),
  );
  for (let i = chance(0.6) ? 1 + below(3) : 0; i > 0; i -= 1) {
    const spoil = pick('value', 'value', 'value', ...Object.keys(spoils));
    const chosen = pick(...arrays);
    if (!goneAway.has(chosen[2].buffer)) spoils[spoil](...chosen);
  }
  if (chance(0.05)) runs.overhang = pick(...oddValues);
  return runs;
}

function startModelRuns() {
  const entry = modelAtHand();
  if (!entry) return;
  const runs = chance(0.95) ? randomRuns(entry.size) : pick(...oddValues);
  const check = (result) => checkSlices([result]);
  callObject('analyseRuns', entry, () => entry.object.analyseRuns(runs), check);
}

/** Masks of a size of their own are refused; the size of a model is anybody's. */
function startModelMask() {
  const entry = modelAtHand();
  if (!entry) return;
  const [maskWidth, maskHeight] = chance(0.9) ? [entry.size.width, entry.size.height] : [3, 5];
  entry.masks ??= new MaskSlicer({ maskWidth, maskHeight, layerHeight: 1, pixelSize: 1 });
  const slicer = chance(0.9) ? entry.masks : pick(entry.object, ...oddValues);
  const buffer = randomBuffer(maskWidth * maskHeight);
  const mask = new Uint8Array(buffer).fill(pick(0, 127, 255));
  const given = chance(0.95) ? mask : pick(buffer, ...oddValues);
  const check = (result) => checkSlices([result]);
  callObject('analyseMask', entry, () => entry.object.analyseMask(slicer, given), check);
  mistreat(buffer);
}

function startModelLayers() {
  const entry = modelAtHand();
  const box = slicers[below(slicers.length)];
  if (!entry || !box) return;
  const first = chance(0.9) ? below(box.layers) : pick(...oddNumbers, ...oddValues);
  const most = chance(0.5) ? undefined : pick(1, 2, 7, 2 ** 32 - 1, ...oddNumbers, ...oddValues);
  const slicer = chance(0.95) ? box.slicer : pick(entry.object, ...oddValues);
  const check = (results) => {
    if (results.length === 0 || first + results.length > box.layers || results.length > most) {
      fail(`Model.analyseSlicer gave ${results.length} layers of ${box.layers} from ${first}`);
    }
    checkSlices(results);
  };
  callObject('analyseSlicer', entry, () => entry.object.analyseSlicer(slicer, first, most), check);
}

function startModelImages() {
  const entry = modelAtHand();
  if (!entry) return;
  const check = ({ width, height, images }) => checkResult('group', [...images, width, height]);
  callObject('groupImages', entry, () => entry.object.groupImages(index(), index()), check);
}

function closeModel() {
  const entry = modelAtHand();
  if (
    entry &&
    callObject(
      'close',
      entry,
      () => entry.object.close(),
      () => {},
    )
  )
    entry.closed = true;
  if (chance(0.5)) models.splice(models.indexOf(entry), 1);
}

const actions = [
  ...surveyActions({ Survey, callObject, models, slicers, randomPixels, randomRuns, step }),
  [4, startBindingModel],
  [5, startModelPixels],
  [8, startModelRuns],
  [5, startModelMask],
  [5, startModelLayers],
  [2, startModelImages],
  [1, closeModel],
  [2, startReading],
  [2, startSlicer],
  [6, startSlice],
  [1, startMaskSlicer],
  [4, startMask],
  [3, startModel],
  [10, () => startJob('slice', 'AnalyseSlice', randomSlice(), index())],
  [4, () => startJob('group', 'GroupToBitmap', index(), index())],
  [1, () => attempt('CleanPointer')],
  [2, () => attempt('CleanSlicePointer', index())],
  [
    1,
    () =>
      attempt(
        pick(...Object.keys(stiltforge)),
        ...[1, 2, 3].slice(below(4)).map(() => pick(...oddValues)),
      ),
  ],
];

function startModel() {
  const values = randomParameters();
  attempt('InitAnalyseSlice', values);
  // Whether it was stored or not, slices of this size or another are both worth sending.
  const plain = (key) => typeof Object.getOwnPropertyDescriptor(values, key)?.value === 'number';
  if (!plain('width') || !plain('height')) return;
  const { width, height } = values;
  if (width >= 1 && width <= 200 && height >= 1 && height <= 200) {
    size = { width: Math.floor(width), height: Math.floor(height) };
  }
}

let depth = 0;
function step() {
  if (depth > 2) return;
  depth += 1;
  let choice = below(actions.reduce((sum, [weight]) => sum + weight, 0));
  const [, action] = actions.find(([weight]) => {
    choice -= weight;
    return choice < 0;
  });
  action();
  depth -= 1;
}

async function drain() {
  while (waiting.length > 0 || promised > 0) await sleep(1);
}

// A fixed model, to be compared before and after.
async function fixedModel() {
  const digest = createHash('sha256');
  stiltforge.InitAnalyseSlice(
    parameters({ width: 50, height: 40, needBuffer: true, supportStrength: 30 }),
  );
  for (let i = 0; i < 4; i += 1) {
    const pixels = slice(50, 40, (x, y) =>
      x > 5 - i && x < 20 + 5 * i && y % 20 < 5 + 3 * i ? { blue: x + y, green: y } : undefined,
    );
    const result = await new Promise((resolve) => stiltforge.AnalyseSlice(pixels, i, resolve));
    if (result instanceof Error) fail(`the fixed model failed: ${result.message}`);
    digest.update(JSON.stringify(result));
  }
  stiltforge.CleanPointer();
  return digest.digest('hex');
}

async function playSequence() {
  for (let i = 20 + below(60); i > 0; i -= 1) {
    step();
    if (chance(0.2)) await sleep(below(4));
    if (chance(0.05)) await drain();
  }
}

async function main() {
  const before = await fixedModel();
  const threads = [];
  for (let i = chance(0.4) ? 1 + below(3) : 0; i > 0; i -= 1) {
    const thread = new Worker(fileURLToPath(import.meta.url), { workerData: (seed + i) * 7919 });
    thread.on('exit', (code) => {
      if (code === brokenPromise) fail('a worker thread failed');
    });
    thread.on('error', (error) => fail(`a worker thread failed with ${error.stack}`));
    threads.push(thread);
  }
  await playSequence();
  if (chance(0.15)) {
    console.log(`calls: ${calls}`);
    process.exit(0); // with whatever is in flight
  }
  for (const thread of threads) {
    if (chance(0.5)) await sleep(below(50));
    await thread.terminate();
  }
  await drain();
  attempt('CleanPointer');
  const after = await fixedModel();
  if (after !== before) fail('the fixed model came out differently afterwards');
  console.log(`calls: ${calls}`);
}

if (isMainThread) await main();
else {
  await playSequence();
  await drain();
}
