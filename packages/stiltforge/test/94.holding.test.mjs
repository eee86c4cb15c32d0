// Supports that are judged and finished: of an analysis with a survey, and of any points.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Analysis, Survey } from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';
import { boxesOptions } from '../../../tests/binding/harness.mjs';
import { parameters, rectangle, runsOf, slice } from './harness.mjs';

const { Slicer } = loadBinary('binding.node');

// A post with a plate that hangs far over it, and beside them a block that begins in the air.
const slicer = new Slicer(
  boxesOptions(
    [0, 0, 0, 6, 12, 30],
    [0, 0, 30, 40, 24, 34],
    [50, 0, 12, 56, 6, 40],
    [40, 0, 32, 56, 6, 34],
  ),
);
const { width, height, layerCount } = slicer;
const scale = { pixelSize: 1, layerHeight: 1 };
const survey = { ...scale, minimumHeight: 2 };
const finishing = { supportArea: 60, judge: { nearReach: 8, farReach: 12 } };

const model = (changes) => parameters({ width, height, supportStrength: 12, ...changes });
const pictures = [];
for (let i = 0; i < layerCount; i += 1) pictures.push((await slicer.slice(i)).pixels);
const runs = pictures.map((pixels) => runsOf(pixels, width, height));

async function analysed(source = slicer, options = { survey }) {
  const analysis = Analysis.create(model(), options);
  const results = [];
  for await (const result of analysis.run(source)) results.push(result);
  return { analysis, results };
}

const pointsOf = (results) =>
  results.flatMap(({ layer, layerIndex }) =>
    layer.groups.flatMap(({ supports }, group) =>
      supports.map(({ x, y, isMinima }) => ({
        layer: layerIndex,
        region: group + 1,
        ...{ x, y, isIsland: isMinima },
      })),
    ),
  );

async function finished(source) {
  const { analysis, results } = await analysed(source);
  const supports = await analysis.finishSupports(finishing);
  await analysis.close();
  return { supports, points: pointsOf(results) };
}

const isError = (code, message) => (error) => {
  assert.equal(error.name, 'AnalysisError');
  assert.equal(error.code, code);
  assert.match(error.message, message);
  return true;
};

test('a survey changes no result', async () => {
  const { analysis, results } = await analysed();
  const without = await analysed(slicer, {});
  assert.deepEqual(results, without.results);
  await Promise.all([analysis.close(), without.analysis.close()]);
});

test('every point of the analysis is a finished support or dropped for a reason', async () => {
  const { supports, points } = await finished();
  const kept = supports.supports.filter(({ analysed }) => analysed !== null);
  const numbers = [...kept, ...supports.dropped].map(({ analysed }) => analysed);
  assert.deepEqual(
    numbers.sort((a, b) => a - b),
    points.map((_, i) => i),
  );
  for (const support of [...kept, ...supports.dropped]) {
    const { layer, x, y, isIsland } = support;
    const { region, ...point } = points[support.analysed];
    assert.deepEqual({ layer, x, y, isIsland }, point);
    assert.equal(support.region.region, region);
  }
});

test('supports that stand for others, and those they stand for, name each other', async () => {
  const { supports, dropped } = (await finished()).supports;
  assert.ok(dropped.some(({ reason }) => reason === 'merged'));
  for (const { reason, into, analysed } of dropped) {
    if (reason === 'merged') assert.ok(supports[into].mergedIn.includes(analysed));
    else assert.equal(into, null);
  }
  for (const { reason, mergedIn } of supports) {
    if (reason === 'merged') assert.ok(mergedIn.length > 0);
    if (reason === 'analysed') assert.deepEqual(mergedIn, []);
  }
});

test('finishing ends with the reason of its signal, and may be done again', async () => {
  const { analysis } = await analysed();
  const controller = new AbortController();
  const reason = new Error('no time left');
  const ended = analysis.finishSupports({ ...finishing, signal: controller.signal });
  controller.abort(reason);
  await assert.rejects(ended, reason);
  await assert.rejects(analysis.finishSupports({ signal: controller.signal }), reason);
  const { supports } = await analysis.finishSupports(finishing);
  assert.ok(supports.length > 0);
  await analysis.close();
});

test('finishing stops its work when its signal is aborted', async () => {
  const { Survey: NativeSurvey } = loadBinary('binding.node');
  const native = new NativeSurvey(width, height, survey);
  await native.addSlicer(
    slicer,
    0,
    pictures.map(() => []),
  );
  const signal = AbortSignal.abort();
  await assert.rejects(native.finish({ ...finishing, signal }), { code: 'ABORT_ERR' });
});

test('the region of a support tells what it was owed and what was placed in it', async () => {
  const { supports, points } = await finished();
  const [island] = supports.supports.filter(({ isIsland }) => isIsland);
  const { region, ...record } = island.region;
  assert.deepEqual(record, {
    pixels: 36,
    resting: 0,
    overhanging: 36,
    layersBelow: 0,
    supportsBelow: 0,
    fromBelow: 0,
    owed: 36,
    supports: points.filter((point) => point.layer === island.layer && point.region === region)
      .length,
  });
  const [plate] = supports.supports.filter(({ layer }) => layer === 30);
  assert.equal(plate.region.pixels, 40 * 24);
  assert.equal(plate.region.resting, 6 * 12);
  assert.ok(plate.region.owed > 0 && plate.region.layersBelow === 30);
});

test('an added support knows its region, too', async () => {
  const analysis = Analysis.create(model({ addSupport: false }), { survey });
  for await (const _ of analysis.run(slicer));
  const { supports, dropped } = await analysis.finishSupports(finishing);
  await analysis.close();
  assert.deepEqual(dropped, []);
  assert.ok(supports.length > 2);
  for (const support of supports) {
    assert.match(support.reason, /^added/);
    assert.equal(support.analysed, null);
    assert.ok(support.region.region >= 1);
    const { width: side } = slicer;
    const bytes = new Uint8Array(pictures[support.layer]);
    assert.ok(bytes[4 * (support.y * side + support.x)] > 0, 'it stands on material');
  }
  const [island] = supports;
  assert.equal(island.reason, 'addedForIsland');
  assert.deepEqual([island.layer, island.region.pixels], [12, 36]);
});

test('the verdict tells the islands, the overhang and the worst places', async () => {
  const { verdict, supports } = (await finished()).supports;
  assert.equal(verdict.points, supports.length);
  assert.equal(verdict.islands.length, 1);
  const [island] = verdict.islands;
  assert.deepEqual(
    { ...island, x: 0, y: 0, point: 0 },
    {
      ...{ layer: 12, x: 0, y: 0, pixels: 36, heldBy: 'point', point: 0, takenIn: 12 },
      ...{ hasRoom: true, isSealed: false },
    },
  );
  assert.equal(supports[island.point].layer, 12);
  assert.ok(verdict.overhang.area > 500);
  assert.ok(verdict.overhang.beyondNear <= 0.05 * verdict.overhang.area);
  assert.deepEqual(verdict.closePairs, []);
});

test('without supports all of it is beyond reach', async () => {
  const analysis = Analysis.create(model({ addSupport: false }), { survey });
  for await (const _ of analysis.run(slicer));
  const { islands, overhang, worst } = await analysis.judgeSupports();
  assert.deepEqual([islands[0].heldBy, islands[0].takenIn, islands[0].point], [null, null, null]);
  assert.ok(overhang.area > 500);
  assert.equal(overhang.beyondFar, overhang.area);
  assert.equal(worst[0].distance, Infinity);
  await analysis.close();
});

test('pictures, runs and a slicer are finished alike, several at once, too', async () => {
  const expected = await finished();
  const all = await Promise.all([pictures, runs, slicer, slicer, runs].map(finished));
  for (const other of all) assert.deepEqual(other, expected);
});

test('any points can be judged: those of the analysis as the analysis judges them', async () => {
  const { analysis, results } = await analysed();
  const expected = await analysis.judgeSupports();
  await analysis.close();
  const points = pointsOf(results);

  const sliced = Survey.create({ width, height, ...survey });
  await sliced.addLayers(slicer, points.toReversed());
  const byNumber = (verdict) => ({
    ...verdict,
    islands: [],
    closePairs: verdict.closePairs.length,
  });
  assert.deepEqual(byNumber(await sliced.judge()), byNumber(expected));

  for (const stack of [pictures, runs]) {
    const given = Survey.create({ width, height, ...survey });
    const added = stack.map((layer, i) =>
      given.add(
        layer,
        points.filter((point) => point.layer === i),
      ),
    );
    await Promise.all(added);
    assert.deepEqual(await given.judge(), expected);
  }
});

test('points of no analysis are finished without knowing their regions', async () => {
  const given = Survey.create({ width, height, ...survey });
  await given.addLayers(slicer, [{ layer: 12, x: 57, y: 20 }]);
  const { supports, dropped } = await given.finish(finishing);
  assert.ok(supports.length > 2);
  for (const { region } of [...supports, ...dropped]) assert.equal(region, null);
});

test('points may lie where nothing is, which the verdict tells', async () => {
  const given = Survey.create({ width: 20, height: 10, ...scale });
  const post = rectangle(20, 10, 2, 2, 4, 4, { blue: 255 });
  await given.add(post, [{ x: 0, y: 0 }]);
  await given.add(post, [
    { x: 3, y: 3 },
    { x: 65535, y: 65535 },
  ]);
  const verdict = await given.judge();
  assert.deepEqual(verdict.inNoMaterial, [0, 2]);
  assert.deepEqual(verdict.onHeldMaterial, [1]);
});

test('finishing may be asked again with other options; spacing holds', async () => {
  const { analysis } = await analysed();
  const nearest = ({ supports }) => {
    const plate = supports.filter(({ layer }) => layer === 30);
    return Math.min(
      ...plate.flatMap((a, i) => plate.slice(i + 1).map((b) => Math.hypot(a.x - b.x, a.y - b.y))),
    );
  };
  const first = await analysis.finishSupports(finishing);
  const wide = await analysis.finishSupports({ ...finishing, spacing: 9 });
  assert.ok(nearest(wide) >= 9, `${nearest(wide)}`);
  assert.ok(wide.supports.length < first.supports.length);
  assert.deepEqual(await analysis.finishSupports(finishing), first);
  await analysis.close();
});

test('the minimum height: no support below it', async () => {
  const analysis = Analysis.create(model(), { survey: { ...scale, minimumHeight: 13 } });
  for await (const _ of analysis.run(slicer));
  const { supports, dropped, islandsLeft, verdict } = await analysis.finishSupports(finishing);
  await analysis.close();
  assert.ok(supports.every(({ layer }) => layer > 12));
  assert.ok(dropped.some(({ layer, reason }) => layer === 12 && reason === 'noRoom'));
  assert.deepEqual(islandsLeft, [0]);
  assert.equal(verdict.islands[0].hasRoom, false);
});

test('a sealed void gets no support', async () => {
  const isInside = (x, y) => x >= 5 && x < 25 && y >= 5 && y < 25;
  const slices = Array.from({ length: 30 }, (_, layer) =>
    slice(30, 30, (x, y) => {
      if (layer > 4 && layer < 20 && isInside(x, y)) return undefined;
      return { blue: layer === 20 && isInside(x, y) ? 0 : 255 };
    }),
  );
  const changes = { width: 30, height: 30, supportStrength: 30 };
  const analysis = Analysis.create(parameters(changes), { survey: scale });
  const results = [];
  for await (const result of analysis.run(slices)) results.push(result);
  const { supports, dropped, verdict } = await analysis.finishSupports();
  await analysis.close();
  assert.ok(pointsOf(results).length > 0);
  assert.deepEqual(supports, []);
  for (const { reason } of dropped) assert.equal(reason, 'sealedVoid');
  assert.ok(verdict.overhangInSealedVoids.area > 300);
  assert.equal(verdict.overhang.area, 0);
});

test('an analysis without a survey says how to get one', async () => {
  const { analysis } = await analysed(slicer, {});
  for (const ask of [() => analysis.judgeSupports(), () => analysis.finishSupports()]) {
    await assert.rejects(ask(), isError('ERR_STILTFORGE_PARAMETER', /with the option survey\.$/));
  }
  await analysis.close();
});

test('no slice may follow what was judged, and the verdict stays', async () => {
  const { analysis } = await analysed();
  const expected = await analysis.judgeSupports();
  await assert.rejects(
    analysis.analyse(pictures[0]),
    isError('ERR_STILTFORGE_CLOSED', /^The supports of this analysis were judged or finished/),
  );
  assert.deepEqual(await analysis.judgeSupports(), expected);
  await analysis.close();
  await assert.rejects(analysis.judgeSupports(), isError('ERR_STILTFORGE_CLOSED', /is closed/));

  const given = Survey.create({ width: 8, height: 6, ...scale });
  await given.judge();
  await assert.rejects(
    given.add(rectangle(8, 6, 0, 0, 2, 2)),
    isError('ERR_STILTFORGE_CLOSED', /^The points of this survey were judged or finished/),
  );
});

test('what is asked in the middle of the work waits for its turn', async () => {
  const { analysis, results } = await analysed(pictures);
  const expected = await analysis.finishSupports(finishing);
  const busy = Analysis.create(model(), { survey });
  const slices = pictures.map((picture) => busy.analyse(picture));
  const asked = busy.finishSupports(finishing);
  const closed = busy.close();
  assert.deepEqual(await asked, expected);
  assert.deepEqual(await Promise.all(slices), results);
  await Promise.all([closed, analysis.close()]);
});

for (const [name, wrong, message] of [
  [
    'no pixel size',
    { pixelSize: undefined },
    /pixelSize of the survey is missing; .* mm from 1e-06 to/,
  ],
  ['a layer height of 0', { layerHeight: 0 }, /layerHeight of the survey is 0; .* mm from 1e-06/],
  ['a pixel size that is no number', { pixelSize: '1' }, /pixelSize of the survey is no number/],
  ['an endless height', { minimumHeight: Infinity }, /minimumHeight of the survey is inf/],
  ['a negative height', { minimumHeight: -1 }, /minimumHeight of the survey is -1; .* from 0 to/],
  ['an angle beyond 90 degrees', { criticalAngle: 91 }, /criticalAngle of the survey is 91/],
  [
    'an endless angle',
    { criticalAngle: 0 },
    /criticalAngle of the survey is 0; .* degrees from 1e-06/,
  ],
  [
    'a first layer of no height',
    { firstLayerHeight: 0 },
    /firstLayerHeight of the survey is 0; .*mm/,
  ],
  ['an option that is none', { minHeight: 1 }, /no option "minHeight"; .*minimumHeight/],
  [
    'pixels that are larger than what is looked at',
    { pixelSize: 1e5 },
    /can't be used together: the cells of samples/,
  ],
]) {
  test(`a survey with a mistake is refused: ${name}`, () => {
    const refused = isError('ERR_STILTFORGE_PARAMETER', message);
    assert.throws(() => Analysis.create(model(), { survey: { ...survey, ...wrong } }), refused);
    assert.throws(() => Survey.create({ width, height, ...survey, ...wrong }), refused);
  });
}

test('a survey of no size, or of nothing, is refused', () => {
  assert.throws(() => Survey.create(), isError('ERR_STILTFORGE_PARAMETER', /^The width of the/));
  assert.throws(
    () => Survey.create({ width: 8, height: 0, ...scale }),
    isError(
      'ERR_STILTFORGE_PARAMETER',
      /^The height of the slices is 0, not a whole number from 1/,
    ),
  );
  assert.throws(
    () => Analysis.create(model(), { survey: 7 }),
    isError('ERR_STILTFORGE_PARAMETER', /^The options of the survey are no object/),
  );
});

test('wrong options of judging and finishing are refused with their range', async () => {
  const { analysis } = await analysed();
  for (const [ask, message] of [
    [() => analysis.judgeSupports({ nearReach: -1 }), /nearReach of the judge is -1; .* from 0/],
    [() => analysis.judgeSupports({ spacing: NaN }), /spacing of the judge is nan/],
    [
      () => analysis.finishSupports({ supportArea: 0 }),
      /supportArea of finishing is 0; .* mm2 from 1e-06/,
    ],
    [() => analysis.finishSupports({ spacing: 1e9 }), /spacing of finishing is 1000000000; /],
    [() => analysis.finishSupports({ judge: 3 }), /^The options of the judge are no object/],
    [() => analysis.finishSupports(null), /^The options of finishing are no object/],
    [
      () => analysis.judgeSupports({ reach: 4 }),
      /^The options of the judge: There is no option "reach"; .* nearReach, farReach, spacing\.$/,
    ],
    [() => analysis.finishSupports({ area: 4 }), /^The options of finishing: .*"area"; .*judge/],
    [() => analysis.finishSupports({ judge: { area: 4 } }), /^The options of the judge: .*"area"/],
  ]) {
    await assert.rejects(ask(), isError('ERR_STILTFORGE_PARAMETER', message));
  }
  assert.equal((await analysis.judgeSupports()).islands.length, 1);
  await analysis.close();
});

test('a support fits below what hangs over a first layer that is thick enough', async () => {
  for (const [firstLayerHeight, hasRoom] of [
    [undefined, false],
    [1.9, false],
    [2, true],
  ]) {
    const given = Survey.create({ width: 8, height: 6, ...survey, firstLayerHeight });
    await given.add(rectangle(8, 6, 0, 0, 2, 6));
    await given.add(rectangle(8, 6, 0, 0, 8, 6));
    const { overhang, overhangWithoutRoom } = await given.judge();
    assert.equal(overhang.area > 0, hasRoom, `${firstLayerHeight}`);
    assert.equal(overhangWithoutRoom.area > 0, !hasRoom);
  }
});

test('wrong points are refused, and the survey goes on', async () => {
  const given = Survey.create({ width: 8, height: 6, ...scale });
  const corner = rectangle(8, 6, 0, 0, 4, 4);
  for (const [points, message] of [
    [7, /^The points of a slice are no array/],
    [[null], /^Point 0 of a slice is no object/],
    [
      [
        { x: 0, y: 0 },
        { x: 0.5, y: 0 },
      ],
      /^x of point 1 of a slice is 0\.5, not a whole number/,
    ],
    [[{ x: 0, y: 65536 }], /^y of point 0 of a slice is 65536/],
    [new Array(4e9), /^Point 0 of a slice is no object/],
  ]) {
    await assert.rejects(given.add(corner, points), isError('ERR_STILTFORGE_PARAMETER', message));
  }
  await assert.rejects(given.add('slice'), isError('ERR_STILTFORGE_SLICE', /^A slice is/));
  await assert.rejects(given.add(corner.slice(4)), isError('ERR_STILTFORGE_SLICE', /192 bytes/));
  await given.add(corner);
  assert.equal((await given.judge()).points, 0);
});

test('a getter of a point that takes the slice away changes nothing but the answer', async () => {
  const given = Survey.create({ width: 8, height: 6, ...scale });
  const corner = rectangle(8, 6, 0, 0, 4, 4);
  const point = {
    get x() {
      structuredClone(corner, { transfer: [corner] });
      return 0;
    },
    y: 0,
  };
  await assert.rejects(given.add(corner, [point]), isError('ERR_STILTFORGE_SLICE', /bytes/));
});

test('points of layers that a slicer does not have, and other slicers, are refused', async () => {
  const given = Survey.create({ width, height, ...scale });
  await assert.rejects(
    given.addLayers(slicer, [{ layer: layerCount, x: 0, y: 0 }]),
    isError('ERR_STILTFORGE_PARAMETER', /^layer of point 0 is 40, not a whole number from 0 to 39/),
  );
  await assert.rejects(
    given.addLayers(slicer, [{ layer: 'length', x: 0, y: 0 }]),
    isError('ERR_STILTFORGE_PARAMETER', /^layer of point 0 is length/),
  );
  const small = Survey.create({ width: 8, height: 6, ...scale });
  await assert.rejects(small.addLayers(slicer), isError('ERR_STILTFORGE_SLICE', /of the slicer/));
  await assert.rejects(
    given.addLayers({ layerCount: 3, width, height }),
    isError('ERR_STILTFORGE_SLICE', /must come from a Slicer/),
  );
});
