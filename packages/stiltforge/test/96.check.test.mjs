// Does a print hold as it is?
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { checkPrint } from 'stiltforge/check';
import { createSlicer } from 'stiltforge/slicing';
import { box } from './boxes.mjs';

const print = { layerHeight: 0.1, screenWidth: 400, screenHeight: 300 };

const slicerOf = (...boxes) =>
  createSlicer({
    positions: Float32Array.from(boxes.flat()),
    ...print,
    pixelSize: 0.1,
    margin: 2,
  });

const check = (slicer, options = {}) =>
  checkPrint(slicer, { ...print, pixelWidth: 0.1, ...options });

const told = ({ findings }) => findings.map(({ kind, severity }) => `${severity} ${kind}`);

test('a part that holds has no findings', async () => {
  const report = await check(slicerOf(box([0, 0, 0], [10, 10, 5])));
  assert.deepEqual(report, {
    layers: 50,
    volume: report.volume,
    counts: { fails: 0, risk: 0, note: 0 },
    findings: [],
  });
  assert.ok(Math.abs(report.volume - 500) < 1e-6);
});

const base = box([0, 0, 0], [2, 2, 4]);
const floating = box([4, 0, 2], [7, 2, 4]);

test('a part that stands on nothing is found, with its place in the mesh', async () => {
  const { findings, counts } = await check(slicerOf(base, floating));
  assert.deepEqual(counts, { fails: 1, risk: 0, note: 0 });
  const [{ place, box: around, volume, ...finding }] = findings;
  assert.deepEqual(finding, {
    kind: 'floatingPart',
    severity: 'fails',
    what: 'a part of 12.0 mm3 in layers 20 to 39 stands on nothing',
    remedy: 'Put supports under it, or delete it.',
    firstLayer: 20,
    lastLayer: 39,
    count: 1,
    area: finding.area,
  });
  assert.ok(Math.abs(volume - 12) < 1e-6);
  assert.ok(Math.abs(place.x - 5.5) <= 0.1 && Math.abs(place.y - 1) <= 0.1, JSON.stringify(place));
  assert.equal(place.z, 2);
  assert.equal(place.layer, 20);
  assert.deepEqual(around, { min: [4, 0, 2], max: [7, 2, 4] });
});

test('a point holds it, wherever on the screen the part stands', async () => {
  const slicer = slicerOf(base, floating);
  const { findings } = await check(slicer);
  const { layer, column, row } = findings[0].place;
  assert.deepEqual(told(await check(slicer, { points: [{ layer, column, row }] })), []);
});

test('points beside the part are told', async () => {
  const points = [
    { layer: 0, column: 0, row: 0 },
    { layer: 7, column: -20, row: 70000 },
  ];
  const report = await check(slicerOf(base), { points });
  assert.deepEqual(told(report), ['risk idlePoints']);
  assert.equal(report.findings[0].count, 2);
  assert.equal(report.findings[0].place, undefined);
});

test('a sealed hollow and a bowl are told apart', async () => {
  const hull = box([0, 0, 0], [8, 8, 8]);
  assert.deepEqual(told(await check(slicerOf(hull, box([1, 1, 1], [7, 7, 7], true)))), [
    'risk resinTrap',
  ]);
  assert.deepEqual(told(await check(slicerOf(hull, box([1, 1, 1], [7, 7, 8], true)))), [
    'note suctionCup',
  ]);
});

test('a screen that the part fills is told at each side', async () => {
  const slicer = createSlicer({
    positions: Float32Array.from(box([0, 0, 0], [4, 3, 1])),
    layerHeight: 0.1,
    pixelSize: 0.1,
    screenWidth: 40,
    screenHeight: 300,
  });
  const report = await check(slicer, { screenWidth: 40 });
  assert.deepEqual(told(report), ['risk screenEdge', 'risk screenEdge']);
});

test('a point above all layers touches none, however high it is', async () => {
  const slicer = slicerOf(base);
  const { cropX, cropY } = slicer;
  for (const layer of [40, 65536, 2 ** 32]) {
    const points = [{ layer, column: cropX + 10, row: cropY + 10 }];
    assert.deepEqual(told(await check(slicer, { points })), ['risk idlePoints'], String(layer));
  }
});

test('progress goes on to the last layer', async () => {
  const seen = [];
  await check(slicerOf(base), { progress: (layers, total) => seen.push([layers, total]) });
  assert.deepEqual(seen.at(-1), [40, 40]);
});

test('a signal ends the check', async () => {
  const reason = new Error('enough');
  await assert.rejects(check(slicerOf(base), { signal: AbortSignal.abort(reason) }), reason);
  const controller = new AbortController();
  const progress = () => controller.abort(reason);
  await assert.rejects(check(slicerOf(base), { progress, signal: controller.signal }), reason);
});

test('options that are none are refused', async () => {
  const slicer = slicerOf(base);
  await assert.rejects(check(slicer, { pixelWidth: 0 }), {
    name: 'RangeError',
    message: "The print can't be checked: the width of a pixel must be above 0 mm, not 0 mm.",
  });
  await assert.rejects(check(slicer, { layerHeight: '1' }), TypeError);
  await assert.rejects(check(slicer, { layerHeight: 0 }), /layer height must be above 0 mm/);
  await assert.rejects(check(slicer, { lift: -1 }), /lift must be 0 mm or more, not -1/);
  await assert.rejects(check(slicer, { lift: '1' }), RangeError);
  await assert.rejects(check(slicer, { colour: 1 }), /There is no option "colour"/);
  await assert.rejects(check(slicer, { screenWidth: 5 }), /do not lie on a screen of 5 x 300/);
  await assert.rejects(
    check(slicer, { points: [{ layer: 0, column: 0.5, row: 0 }] }),
    /must be whole numbers, not 0, 0.5 and 0/,
  );
  const points = [{ layer: 0, column: 0, row: 0 }, null];
  await assert.rejects(
    check(slicer, { points }),
    /^TypeError: Point 1 .* layer, column and row\.$/,
  );
  await assert.rejects(checkPrint(slicer), /The second argument must be an object with options/);
  await assert.rejects(checkPrint(), /The first argument must be an object with the layers of a/);
  await assert.rejects(check({ layerCount: 3, width: 4, height: 5 }), /must come from a slicer/);
});

test('several checks may share a slicer', async () => {
  const slicer = slicerOf(base, floating);
  const reports = await Promise.all([check(slicer), check(slicer), check(slicer)]);
  for (const report of reports) assert.deepEqual(report, reports[0]);
});
