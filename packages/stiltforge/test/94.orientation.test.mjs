// Which way a part should stand.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';
import { defaultWeights, orient, turnedMesh } from 'stiltforge/orientation';
import { box, table } from './boxes.mjs';

const coarse = { pixelSize: 0.25, layerHeight: 0.25, screenWidth: 400, screenHeight: 400 };
const quick = { ...coarse, directions: 30, listed: 3, confirm: false };

test('a table is turned upside down', async () => {
  const { asItIs, best, tried } = await orient({ positions: table, ...quick });
  assert.ok(tried > 30);
  assert.ok(asItIs.measures.points > 0);
  assert.deepEqual(asItIs.turn, [0, 0, 0]);
  assert.equal(asItIs.supports.length, asItIs.measures.points);
  for (const { z, kind } of asItIs.supports) {
    assert.ok(z >= 9.5 && z <= 10.5, String(z));
    assert.ok(['island', 'overhang'].includes(kind));
  }
  assert.equal(best[0].measures.points, 0);
  assert.equal(best[0].origin, 'flatSide');
  assert.ok(best[0].cost < asItIs.cost);
  const standing = turnedMesh(table, best[0].turn);
  const heights = standing.filter((_, i) => i % 3 === 2);
  assert.ok(Math.abs(Math.max(...heights) - Math.min(...heights) - 12) < 1e-3);
});

test('the same is found again', async () => {
  const options = { positions: table, ...quick };
  assert.deepEqual(await orient(options), await orient(options));
});

test('what weighs most decides', async () => {
  const positions = Float32Array.from(box([0, 0, 0], [5, 20, 30]));
  const only = Object.fromEntries(Object.keys(defaultWeights).map((name) => [name, 0]));
  const { best } = await orient({ positions, ...quick, weights: { ...only, height: 1 } });
  assert.ok(Math.abs(best[0].measures.height - 5) < 0.01);
});

test('a side is kept clean', async () => {
  const positions = Float32Array.from(box([0, 0, 0], [10, 10, 10]));
  const { asItIs, best } = await orient({ positions, ...quick, keepClean: [0, 0, -1] });
  assert.equal(asItIs.measures.marks, 100);
  assert.equal(best[0].measures.marks, 0);
});

test('the mesh is copied by the call', async () => {
  const positions = table.slice();
  const search = orient({ positions, ...quick });
  positions.fill(Number.NaN);
  assert.equal((await search).best[0].measures.points, 0);
});

test('progress tells how far it is', async () => {
  const told = [];
  const progress = (done, total) => told.push([done, total]);
  await orient({ positions: table, ...quick, directions: 200, progress });
  assert.ok(told.length > 0);
  for (const [done, total] of told) assert.ok(done <= total, `${done} of ${total}`);
});

test('a signal ends the search', async () => {
  const controller = new AbortController();
  const reason = new Error('enough');
  const search = orient({
    positions: table,
    ...quick,
    directions: 100000,
    signal: controller.signal,
    progress: () => controller.abort(reason),
  });
  await assert.rejects(search, reason);
  await assert.rejects(orient({ positions: table, ...quick, signal: controller.signal }), reason);
});

test('several searches run side by side', async () => {
  const searches = [1, 2, 3].map(() => orient({ positions: table, ...quick }));
  const [first, ...others] = await Promise.all(searches);
  for (const other of others) assert.deepEqual(other, first);
});

test('a search in a worker thread outlives its end', async () => {
  const worker = new Worker(
    `const { workerData: options } = require('node:worker_threads');
     import('stiltforge/orientation').then(({ orient }) => {
       orient(options);
       require('node:worker_threads').parentPort.postMessage('started');
     });`,
    { eval: true, workerData: { positions: table, ...quick } },
  );
  await new Promise((resolve) => worker.once('message', resolve));
  assert.equal(await worker.terminate(), 1);
});

test('a mesh that is no solid or fits in no way is refused in a sentence', async () => {
  const code = 'ERR_STILTFORGE_MESH';
  for (const positions of [
    new Float32Array(0),
    new Float32Array(9),
    new Float32Array(10),
    new Float32Array(9).fill(Number.NaN),
    Float32Array.of(0, 0, 0, 20, 0, 0, 0, 20, 0),
  ]) {
    await assert.rejects(orient({ positions, ...quick }), { code, message: /\.$/ });
  }
  const positions = Float32Array.from(box([0, 0, 0], [500, 500, 500]));
  await assert.rejects(orient({ positions, ...quick }), {
    code,
    message:
      'The part does not fit on the screen in any orientation. Scale it down or take a larger screen.',
  });
});

test('options that are none are named with what they must be', async () => {
  await assert.rejects(orient(), /^TypeError: The argument must be an object with options\.$/);
  const refused = (options, error) =>
    assert.rejects(orient({ positions: table, ...quick, ...options }), error);
  await refused({ positions: [1, 2, 3] }, { name: 'TypeError', message: /positions/ });
  await refused({ colour: 1 }, { name: 'TypeError', message: /no option "colour"/ });
  await refused({ weights: { beauty: 1 } }, { name: 'TypeError', message: /no weight "beauty"/ });
  await refused({ weights: { points: -1 } }, { name: 'RangeError', message: /pointsWeight.*-1/ });
  await refused({ weights: { cups: Number.NaN } }, { name: 'RangeError', message: /from 0 to/ });
  await refused({ weights: { cups: 'many' } }, { name: 'TypeError', message: /a number/ });
  await refused({ keepClean: 'front' }, { name: 'TypeError', message: /three numbers/ });
  await refused({ keepClean: [0, 0] }, { name: 'TypeError', message: /three numbers/ });
  await refused({ keepClean: [0, 0, Infinity] }, { name: 'TypeError', message: /three numbers/ });
  await refused({ keepClean: [0, 0, 0] }, { name: 'RangeError', message: /no direction/ });
  await refused({ directions: 0 }, { name: 'RangeError', message: /from 1 to/ });
  await refused({ listed: 1.5 }, { name: 'RangeError', message: /whole number/ });
  await refused({ atOnce: 0 }, { name: 'RangeError', message: /atOnce.*from 1 to 1000/ });
  await refused({ confirm: 1 }, { name: 'TypeError', message: /true or false/ });
  await refused({ pixelSize: 0 }, { name: 'RangeError', message: /pixelSize.*mm/ });
});

test('a quarter turn of a mesh is exact', () => {
  const positions = Float32Array.of(1, 2, 3, 0.1, 0.2, 0.3, -1, 0, 0);
  assert.deepEqual(
    turnedMesh(positions, [90, 0, 0]),
    Float32Array.of(1, -3, 2, 0.1, -0.3, 0.2, -1, 0, 0),
  );
  assert.deepEqual(turnedMesh(positions, [0, 0, 0]), positions);
  assert.notEqual(turnedMesh(positions, [0, 0, 0]), positions);
  assert.throws(() => turnedMesh([1, 2, 3], [0, 0, 0]), TypeError);
  assert.throws(() => turnedMesh(positions, [0, 0]), TypeError);
  assert.throws(() => turnedMesh(positions, [0, 0, Number.NaN]), TypeError);
  assert.throws(() => turnedMesh(new Float32Array(4), [0, 0, 0]), RangeError);
});
