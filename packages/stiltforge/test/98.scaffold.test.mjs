// The supports of a part as geometry.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';
import { buildScaffold, defaultScaffold, findScaffoldConflict } from 'stiltforge/scaffold';
import { table } from './boxes.mjs';

const corner = { x: 2, y: 2, z: 10 };
const options = { positions: table, points: [corner], plateZ: 0, layerHeight: 0.05 };

/** Of a surface's corners along an axis. */
function extent(positions, axis) {
  const values = [...positions].filter((_, i) => i % 3 === axis);
  return [Math.min(...values), Math.max(...values)];
}

test('a support stands on the plate and reaches into the part', async () => {
  const { positions, rings, supports, leftOut, raftTriangles } = await buildScaffold(options);
  const triangles = positions.length / 9;
  assert.deepEqual(supports, [
    {
      point: 0,
      stand: 'plate',
      firstTriangle: 0,
      triangles,
      firstRing: 0,
      rings: rings.length / 4,
    },
  ]);
  assert.deepEqual(leftOut, []);
  assert.equal(raftTriangles, 0);
  const [low, high] = extent(positions, 2);
  assert.equal(low, 0);
  assert.ok(Math.abs(high - 10 - defaultScaffold.penetration) < 1e-5);
  const [left, right] = extent(positions, 0);
  assert.ok(Math.abs(right - left - defaultScaffold.footDiameter) < 1e-5);
});

test('its rings go from the foot to the tip', async () => {
  const { rings } = await buildScaffold(options);
  const { footDiameter, tipDiameter, penetration } = defaultScaffold;
  const [foot, tip] = [rings.subarray(0, 4), rings.subarray(-4)];
  assert.deepEqual([foot[2], foot[3]], [0, footDiameter / 2]);
  assert.deepEqual([...tip], [corner.x, corner.y, corner.z + penetration, tipDiameter / 2]);
});

test('the defaults are those of the native side', async () => {
  assert.deepEqual(
    await buildScaffold({ ...options, ...defaultScaffold }),
    await buildScaffold(options),
  );
});

test('slender pillars are braced, and those that stand alone are told', async () => {
  const places = [
    [0, 0],
    [2, 0],
    [10, 10],
  ];
  const points = places.map(([x, y]) => ({ x, y, z: 10 }));
  const thin = { ...options, points, pillarDiameter: 0.5, tipDiameter: 0.3 };
  const { supports, braces, alone, positions } = await buildScaffold(thin);
  assert.ok(braces.length > 0);
  let next = supports.at(-1).firstTriangle + supports.at(-1).triangles;
  for (const { first, second, firstTriangle, triangles } of braces) {
    assert.deepEqual([first, second, firstTriangle], [0, 1, next]);
    next += triangles;
  }
  assert.equal(next, positions.length / 9);
  assert.deepEqual(alone, [2]);
  const without = await buildScaffold({ ...thin, braceReach: 0 });
  assert.deepEqual([without.braces, without.alone], [[], [0, 1, 2]]);
});

test('a raft is the last surface', async () => {
  const { positions, supports, raftTriangles } = await buildScaffold({
    ...options,
    ...{ plateZ: -3, raftThickness: 1 },
  });
  assert.ok(raftTriangles > 0);
  assert.equal(positions.length / 9, supports[0].triangles + raftTriangles);
  const raft = positions.subarray(positions.length - 9 * raftTriangles);
  assert.deepEqual(extent(raft, 2), [-3, -2]);
});

test('points without a way are told with the reason', async () => {
  const { supports, leftOut } = await buildScaffold({
    ...options,
    points: [{ x: 10, y: 10, z: 0 }, corner],
  });
  assert.deepEqual(leftOut, [{ point: 0, reason: 'tooLow' }]);
  assert.deepEqual(
    supports.map(({ point }) => point),
    [1],
  );
});

test('without points there is nothing', async () => {
  const { positions, supports } = await buildScaffold({ ...options, points: [] });
  assert.equal(positions.length, 0);
  assert.deepEqual(supports, []);
});

test('settings have ranges', async () => {
  assert.equal(findScaffoldConflict({}), undefined);
  assert.deepEqual(findScaffoldConflict({ tipDiameter: 9 }), {
    setting: 'tipDiameter',
    value: 9,
    range: 'it must be from 0.1 to 5 mm',
  });
  assert.equal(findScaffoldConflict({ raftThickness: 1 }, 1.5), undefined);
  assert.match(findScaffoldConflict({ raftThickness: 1 }, 1).range, /lifted by at least 1\.5 mm/);
});

test('what makes no sense is rejected with a sentence', async () => {
  for (const [change, name, sentence] of [
    [{ tipDiamter: 1 }, 'TypeError', /There is no option "tipDiamter"/],
    [{ positions: [1, 2, 3] }, 'TypeError', /"positions" must be a Float32Array/],
    [{ points: [{ x: 1, y: 2 }] }, 'RangeError', /Point 0 \(counted from 0\) is no place/],
    [
      { points: [null] },
      'TypeError',
      /^Point 0 \(counted from 0\) must be an object with x, y and z/,
    ],
    [{ points: undefined }, 'TypeError', /"points" must be an array of objects with x, y and z/],
    [{ plateZ: Number.NaN }, 'RangeError', /"plateZ" must be a finite number/],
    [{ plateZ: undefined }, 'TypeError', /"plateZ" is missing/],
    [{ layerHeight: 0 }, 'RangeError', /"layerHeight" is 0; it must be from 1e-06 to 1000000 mm/],
    [{ footDiameter: 0.5 }, 'RangeError', /"footDiameter" is 0\.5; it must be at least/],
    [{ clearance: Infinity }, 'RangeError', /"clearance" is inf; it must be from 0 to 10 mm/],
  ]) {
    await assert.rejects(buildScaffold({ ...options, ...change }), (error) => {
      assert.equal(error.name, name);
      assert.match(error.message, sentence);
      return true;
    });
  }
});

test('... as are options that are left out', async () => {
  await assert.rejects(
    buildScaffold(),
    /^TypeError: The argument must be an object with options\.$/,
  );
});

test('what fails at work is rejected with a code', async () => {
  for (const [change, code, sentence] of [
    [{ positions: new Float32Array(0) }, 'ERR_STILTFORGE_MESH', /has no triangles/],
    [{ positions: table.map((v) => v * 1e5) }, 'ERR_STILTFORGE_MESH', /within 16,384 mm/],
    [{ plateZ: 1e6 }, 'ERR_STILTFORGE_MESH', /^The plate lies 1000000 mm from the origin/],
    [
      { points: [corner, { x: 1, y: 1e20, z: 2 }] },
      'ERR_STILTFORGE_MESH',
      /^Point 1 \(counted from 0\) is no place on the part; it must stay within 16,384 mm/,
    ],
    [{ raftThickness: 1 }, 'ERR_STILTFORGE_PARAMETER', /must be lifted by at least 1\.5 mm/],
  ]) {
    await assert.rejects(buildScaffold({ ...options, ...change }), (error) => {
      assert.equal(error.code, code);
      assert.match(error.message, sentence);
      return true;
    });
  }
});

test('the share that is done is told while it builds', async () => {
  const shares = [];
  const points = Array.from({ length: 400 }, (_, i) => ({ ...corner, x: 2 + (i % 20) / 10 }));
  // How often depends on the time that it takes.
  let told;
  const isTold = new Promise((resolve) => {
    told = resolve;
  });
  const progress = (share) => {
    shares.push(share);
    told();
  };
  while (shares.length === 0) {
    await Promise.race([buildScaffold({ ...options, points, progress }), isTold]);
    points.push(...points);
  }
  assert.ok(shares.every((share) => share >= 0 && share <= 1));
  assert.deepEqual(shares, shares.toSorted());
});

test('a signal ends it with its reason', async () => {
  const reason = new Error('enough');
  const points = Array.from({ length: 20000 }, (_, i) => ({ ...corner, x: 2 + i / 1e4 }));
  const aborted = AbortSignal.abort(reason);
  await assert.rejects(buildScaffold({ ...options, signal: aborted }), reason);
  const controller = new AbortController();
  const built = buildScaffold({ ...options, points, signal: controller.signal });
  controller.abort(reason);
  await assert.rejects(built, reason);
});

test('a thread that ends meanwhile does no harm', async () => {
  const code = `
    import('stiltforge/scaffold').then(({ buildScaffold }) => {
      const positions = new Float32Array([0, 0, 9, 0, 9, 9, 9, 0, 9]);
      const points = Array.from({ length: 5000 }, () => ({ x: 2, y: 2, z: 9 }));
      buildScaffold({ positions, points, plateZ: 0, layerHeight: 0.05 });
      process.exit();
    });`;
  const worker = new Worker(code, { eval: true });
  await new Promise((resolve) => worker.on('exit', resolve));
});
