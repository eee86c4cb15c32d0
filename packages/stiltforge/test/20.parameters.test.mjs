import assert from 'node:assert/strict';
import { test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, parameters, rectangle, runInChild } from './harness.mjs';

const { InitAnalyseSlice, CleanPointer } = stiltforge;

// The key, and the key that its message names.
const checkOrder = [
  ['width'],
  ['height'],
  ['numLayer'],
  ['needBuffer'],
  ['addSupport', 'needBuffer'],
  ['supportStrength'],
  ['growthStrength'],
  ['strengthTransmited'],
  ['firstSupportMinStrength'],
  ['numberOfSamplePerSupport'],
  ['ghostPart'],
  ['strokePart'],
  ['anglePart'],
  ['numberOfSamplePerVoronoi'],
  ['maxSupportRadiusInIsland'],
  ['islandSupportMultiplier'],
  ['islandStrengthSupport'],
  ['strengthOfPlatePixel'],
  ['maxZGhost'],
  ['maxGhost'],
  ['ghostRadius'],
  ['maxVoronoiIteration'],
  ['validationDistanceFormVoronoi'],
  ['distCloseToIsland'],
  ['closeToIslandStrengthTransmited'],
  ['almostNotBlueCounterLimit'],
  ['islandMinBlue'],
  ['maxGhostValueToPlaceSupport'],
];

const readOrder = [
  'width',
  'height',
  'numLayer',
  'supportStrength',
  'needBuffer',
  'addSupport',
  'maxGhost',
  'maxZGhost',
  'strengthOfPlatePixel',
  'supportStrength',
  'growthStrength',
  'strengthTransmited',
  'firstSupportMinStrength',
  'numberOfSamplePerSupport',
  'numberOfSamplePerVoronoi',
  'islandSupportMultiplier',
  'islandStrengthSupport',
  'validationDistanceFormVoronoi',
  'maxVoronoiIteration',
  'ghostRadius',
  'maxSupportRadiusInIsland',
  'distCloseToIsland',
  'closeToIslandStrengthTransmited',
  'anglePart',
  'ghostPart',
  'strokePart',
  'almostNotBlueCounterLimit',
  'islandMinBlue',
  'maxGhostValueToPlaceSupport',
];

const isPlain = (message) => (error) => {
  assert.equal(Object.getPrototypeOf(error), Error.prototype);
  assert.equal(error.message, message);
  return true;
};

test('no argument at all: the count message', () => {
  assert.throws(() => InitAnalyseSlice(), isPlain('Expected exactly 5 argument'));
});

test('an argument that is no object is refused', () => {
  for (const value of [undefined, null, 1, 'text', true, Symbol('s'), 1n]) {
    assert.throws(() => InitAnalyseSlice(value), isPlain('Expected an Object as 0 argument'));
  }
});

test('a missing key gives its message, and the first missing key in check order wins', () => {
  for (const [i, [key, named = key]] of checkOrder.entries()) {
    const alone = parameters();
    delete alone[key];
    assert.throws(() => InitAnalyseSlice(alone), isPlain(`Object need argument "${named}"`));

    const withAllBefore = parameters();
    for (const [later] of checkOrder.slice(i)) delete withAllBefore[later];
    assert.throws(
      () => InitAnalyseSlice(withAllBefore),
      isPlain(`Object need argument "${named}"`),
    );
  }
});

test('an empty object lacks "width"', () => {
  assert.throws(() => InitAnalyseSlice({}), isPlain('Object need argument "width"'));
});

test('keys are looked for in order, then read in store order, supportStrength twice', () => {
  const asked = [];
  const read = [];
  const observed = new Proxy(parameters(), {
    has(target, key) {
      asked.push(key);
      return key in target;
    },
    get(target, key) {
      read.push(key);
      return target[key];
    },
  });
  InitAnalyseSlice(observed);
  assert.deepEqual(
    asked,
    checkOrder.map(([key]) => key),
  );
  assert.deepEqual(read, readOrder);
  CleanPointer();
});

test('inherited keys count, so does a function with the keys, further arguments do not', () => {
  InitAnalyseSlice(Object.create(parameters()));
  InitAnalyseSlice(Object.assign(() => {}, parameters()));
  InitAnalyseSlice(Object.assign([], parameters()));
  assert.equal(InitAnalyseSlice(parameters(), 1, 2, 3, 4, 5), undefined);
  CleanPointer();
});

test('sizes and the slice count wrap like unsigned integers', async () => {
  InitAnalyseSlice(parameters({ width: 65536 + 4, height: 2 ** 32 + 3, numLayer: 2 ** 32 + 7 }));
  const result = await analyse(rectangle(4, 3, 0, 0, 1, 1));
  assert.deepEqual([result.width, result.height, result.sliceCount], [4, 3, 7]);
  CleanPointer();

  InitAnalyseSlice(parameters({ width: 70000, height: 1, numLayer: -1 }));
  const wide = await analyse(rectangle(4464, 1, 0, 0, 1, 1));
  assert.deepEqual([wide.width, wide.height, wide.sliceCount], [4464, 1, 4294967295]);
  CleanPointer();
});

test('maxGhost is truncated towards zero', async () => {
  // An island with several supports, below a region that inherits as many as maxGhost allows.
  const inherited = async (maxGhost) => {
    InitAnalyseSlice(parameters({ width: 40, height: 40, maxGhost, supportStrength: 50 }));
    await analyse(rectangle(40, 40, 0, 0, 0, 0));
    const island = await analyse(rectangle(40, 40, 5, 5, 35, 35));
    const supports = island.layer.groups[0].supports.length;
    const above = await analyse(rectangle(40, 40, 0, 0, 40, 40));
    CleanPointer();
    return { supports, above: JSON.stringify(above.layer) };
  };
  const two = await inherited(2);
  assert.ok(two.supports > 2);
  assert.equal((await inherited(2.9)).above, two.above);
  assert.notEqual((await inherited(200)).above, two.above);
  assert.equal((await inherited(0.9)).above, (await inherited(0)).above);
  assert.equal((await inherited(-1.5)).above, (await inherited(-1)).above);
  assert.notEqual((await inherited(-1.5)).above, (await inherited(200)).above);
});

test('maxGhostValueToPlaceSupport changes nothing', async () => {
  const layers = async (maxGhostValueToPlaceSupport) => {
    InitAnalyseSlice(
      parameters({ width: 40, height: 40, supportStrength: 50, maxGhostValueToPlaceSupport }),
    );
    const results = [];
    for (const side of [0, 12, 24, 40])
      results.push(await analyse(rectangle(40, 40, 0, 0, side, side)));
    CleanPointer();
    return results.map(({ layer }) => layer);
  };
  const one = await layers(1);
  assert.ok(one.at(-1).groups[0].supports.length > 2);
  for (const other of [0, -1, 255, 1e30, NaN]) assert.deepEqual(await layers(other), one);
});

test('a value of the wrong type is an exception of the conversion', () => {
  const wrong = { width: '8', needBuffer: 1, addSupport: null, maxGhost: '1', islandMinBlue: {} };
  for (const [key, value] of Object.entries(wrong)) {
    assert.throws(
      () => InitAnalyseSlice(parameters({ [key]: value })),
      /^(TypeError|Error): A (number|boolean) was expected$/,
    );
  }
});

test('settings read before a value of the wrong type stay, later ones do not', async () => {
  InitAnalyseSlice(parameters({ width: 8, height: 6, numLayer: 3, needBuffer: false }));
  assert.throws(() =>
    InitAnalyseSlice(parameters({ numLayer: 9, needBuffer: true, addSupport: 'yes' })),
  );
  const result = await analyse(rectangle(8, 6, 0, 0, 2, 2));
  assert.equal(result.sliceCount, 9);
  assert.equal(result.needBuffer, true);
  assert.ok(result.topPixelBuffer.readUInt32LE(0) === 0xfe000000);
  CleanPointer();
});

test('a wrong type before the history is emptied keeps it, one after starts the model afresh', async () => {
  InitAnalyseSlice(parameters());
  await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.throws(() => InitAnalyseSlice(parameters({ addSupport: 'yes' })));
  const second = await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.equal(second.layer.groups[0].supportedPixel, 16);

  assert.throws(() => InitAnalyseSlice(parameters({ maxGhost: 'many' })));
  const first = await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.equal(first.layer.groups[0].supportedPixel, 0);
  CleanPointer();
});

test('a larger size stored by a call that failed is caught at the top-pixel buffer', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 3 }));
  assert.throws(() => InitAnalyseSlice(parameters({ width: 8, height: 6, numLayer: 'x' })));
  await assert.rejects(analyse(rectangle(8, 6, 2, 2, 3, 3)), {
    message: 'vector::_M_range_check: __n (which is 18) >= this->size() (which is 12)',
  });
  const inside = await analyse(rectangle(8, 6, 0, 0, 2, 1));
  assert.equal(inside.layer.pixelCount, 2);
  CleanPointer();
});

test('a slice that ends in the range Error leaves neither markers nor a layer behind', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 3, needBuffer: true }));
  await analyse(rectangle(4, 3, 0, 0, 1, 1));
  const larger = parameters({ width: 8, height: 6, needBuffer: true, numLayer: 'x' });
  assert.throws(() => InitAnalyseSlice(larger));
  await assert.rejects(analyse(rectangle(8, 6, 0, 0, 2, 6)), /_M_range_check/);

  const { layer, topPixelBuffer } = await analyse(rectangle(8, 6, 2, 0, 3, 1));
  assert.equal(layer.groups[0].supportedPixel, 0);
  const markers = [0, 1, 2].map((x) => topPixelBuffer.readUInt32LE(4 * x));
  assert.deepEqual(markers, [0xfe000000, 0, 0xfe000001]);
  CleanPointer();
});

test('a smaller size stored by a call that failed is used for the next slice', async () => {
  InitAnalyseSlice(parameters({ width: 8, height: 6, needBuffer: true }));
  await analyse(rectangle(8, 6, 0, 0, 8, 6));
  assert.throws(() => InitAnalyseSlice(parameters({ width: 4, height: 3, numLayer: 'x' })));
  const result = await analyse(rectangle(4, 3, 0, 0, 4, 3));
  assert.equal(result.layer.pixelCount, 12);
  assert.equal(result.topPixelBuffer.length, 48);
  CleanPointer();
});

test('needBuffer stored by a call that failed gives buffers with markers from the next slice on', async () => {
  InitAnalyseSlice(parameters({ width: 3, height: 1, needBuffer: false }));
  const column = (x) => rectangle(3, 1, x, 0, x + 1, 1);
  await analyse(column(0));
  assert.throws(() =>
    InitAnalyseSlice(parameters({ width: 3, height: 1, needBuffer: true, addSupport: 'x' })),
  );
  await analyse(column(1));
  const { pixelBuffer, topPixelBuffer } = await analyse(column(2));
  const words = (buffer) => [0, 1, 2].map((x) => buffer.readUInt32LE(4 * x));
  assert.deepEqual(words(pixelBuffer), [0xff000000, 0xff000000, 0x80000001]);
  assert.deepEqual(words(topPixelBuffer), [0, 0xfe000001, 0xfe000002]);
  CleanPointer();
});

test('an exception of a getter passes through and counts as a wrong type', async () => {
  InitAnalyseSlice(parameters());
  const failing = parameters({ numLayer: 77 });
  Object.defineProperty(failing, 'addSupport', {
    get() {
      throw new RangeError('mine');
    },
  });
  assert.throws(() => InitAnalyseSlice(failing), { name: 'RangeError', message: 'mine' });
  assert.equal((await analyse(rectangle(8, 6, 0, 0, 1, 1))).sliceCount, 77);
  CleanPointer();
});

test('a getter that starts a slice makes the call fail, the slice is analysed', async () => {
  InitAnalyseSlice(parameters());
  let queued;
  const meddling = parameters({ numLayer: 77 });
  Object.defineProperty(meddling, 'islandMinBlue', {
    get() {
      queued = analyse(rectangle(8, 6, 0, 0, 1, 1));
      return 50;
    },
  });
  assert.throws(() => InitAnalyseSlice(meddling), { code: 'ERR_STILTFORGE_BUSY' });
  assert.equal((await queued).sliceCount, 3);
  CleanPointer();
});

test('more pixels than a signed 32-bit count is an Error, and the open model goes on', async () => {
  InitAnalyseSlice(parameters());
  await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.throws(() => InitAnalyseSlice(parameters({ width: 65535, height: 65535 })), {
    message:
      'A slice of 65535 x 65535 pixels is too large: width times height may be at most 2147483647.',
    code: 'ERR_STILTFORGE_PARAMETER',
  });
  const next = await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.equal(next.layer.groups[0].supportedPixel, 16);
  CleanPointer();
});

test('a ghostRadius too large for its table is an Error, and the open model goes on', async () => {
  InitAnalyseSlice(parameters());
  await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.throws(() => InitAnalyseSlice(parameters({ ghostRadius: 40000, numLayer: 5 })), {
    message: /ghostRadius.*4096/,
    code: 'ERR_STILTFORGE_PARAMETER',
  });
  const next = await analyse(rectangle(8, 6, 0, 0, 4, 4));
  assert.equal(next.layer.groups[0].supportedPixel, 16);
  assert.equal(next.sliceCount, 3);
  CleanPointer();
});

test('a ghostRadius stored by a call that failed has its table when the next slice needs it', async () => {
  InitAnalyseSlice(parameters({ width: 60, height: 60, ghostRadius: 1, supportStrength: 30 }));
  assert.throws(() =>
    InitAnalyseSlice(parameters({ width: 60, height: 60, ghostRadius: 25, strokePart: 'x' })),
  );
  await analyse(rectangle(60, 60, 0, 0, 0, 0));
  await analyse(rectangle(60, 60, 20, 20, 40, 40));
  const result = await analyse(rectangle(60, 60, 0, 0, 60, 60));
  assert.ok(result.layer.groups[0].supports.length > 0);
  CleanPointer();
});

const extremes = [NaN, Infinity, -Infinity, -1, 0, -0.5, 1e-40, 1e9, 1e300, -1e300, 2 ** 31, 40000];
const numeric = checkOrder
  .map(([key]) => key)
  .filter((key) => !['width', 'height', 'needBuffer', 'addSupport'].includes(key));

for (const value of extremes) {
  test(`every parameter may be ${Object.is(value, -0) ? '-0' : value}: a result or an Error, soon`, async () => {
    const { code, signal, stderr, timedOut, stdout } = await runInChild(
      `
      const value = ${Number.isNaN(value) ? 'NaN' : value};
      const stack = [
        rectangle(64, 48, 0, 0, 10, 10, { blue: 255 }),
        rectangle(64, 48, 0, 0, 30, 30),
        slice(64, 48, (x, y) => (x % 9 < 6 && y % 7 < 5 ? { blue: x * 3 % 256, green: y } : undefined)),
        rectangle(64, 48, 0, 0, 64, 48),
      ];
      for (const key of ${JSON.stringify(numeric)}) {
        try {
          stiltforge.InitAnalyseSlice(parameters({ width: 64, height: 48, [key]: value }));
        } catch (error) {
          if (Object.getPrototypeOf(error) !== Error.prototype) throw error;
          console.log(key, error.message);
          continue;
        }
        for (const pixels of stack) await analyse(pixels);
        for (let layer = 0; layer < stack.length; layer += 1) await groupImages(layer, 1);
        stiltforge.CleanPointer();
      }
      // All at once.
      const all = Object.fromEntries(${JSON.stringify(numeric)}.map((key) => [key, value]));
      try {
        stiltforge.InitAnalyseSlice(parameters({ width: 64, height: 48, ...all }));
        for (const pixels of stack) await analyse(pixels);
      } catch (error) {
        console.log('all', error.message);
      }
      `,
      { timeoutSeconds: 60 },
    );
    assert.deepEqual(
      { code, signal, stderr, timedOut },
      { code: 0, signal: null, stderr: '', timedOut: false },
      stdout,
    );
  });
}
