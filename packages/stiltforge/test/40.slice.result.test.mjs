import assert from 'node:assert/strict';
import { test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, parameters, rectangle, slice } from './harness.mjs';

const { AnalyseSlice, InitAnalyseSlice, CleanPointer } = stiltforge;

test('the keys of the result come in a fixed order, without buffers', async () => {
  InitAnalyseSlice(parameters());
  const result = await analyse(rectangle(8, 6, 0, 0, 2, 2));
  assert.deepEqual(Object.keys(result), [
    'pixelBuffer',
    'topPixelBuffer',
    'width',
    'height',
    'sliceCount',
    'needBuffer',
    'layerIndex',
    'layer',
  ]);
  assert.equal(result.pixelBuffer, null);
  assert.equal(result.topPixelBuffer, null);
  assert.equal(result.needBuffer, false);
  CleanPointer();
});

test('with needBuffer the buffers keep their places and supportedPixels is last', async () => {
  InitAnalyseSlice(parameters({ needBuffer: true }));
  const result = await analyse(rectangle(8, 6, 0, 0, 2, 2));
  assert.deepEqual(Object.keys(result), [
    'pixelBuffer',
    'topPixelBuffer',
    'width',
    'height',
    'sliceCount',
    'needBuffer',
    'layerIndex',
    'layer',
    'supportedPixels',
  ]);
  assert.equal(result.needBuffer, true);
  CleanPointer();
});

test('the keys of layer, group and support come in a fixed order', async () => {
  InitAnalyseSlice(parameters({ width: 20, height: 20 }));
  await analyse(rectangle(20, 20, 0, 0, 0, 0));
  const { layer } = await analyse(rectangle(20, 20, 2, 3, 14, 17));
  assert.deepEqual(Object.keys(layer), ['width', 'height', 'pixelCount', 'groupCount', 'groups']);
  const [group] = layer.groups;
  assert.deepEqual(Object.keys(group), [
    'numPixel',
    'supportedPixel',
    'supports',
    'xMin',
    'yMin',
    'xMax',
    'yMax',
  ]);
  assert.deepEqual(Object.keys(group.supports[0]), ['x', 'y', 'z', 'isMinima']);
  const { supports, ...counts } = group;
  assert.deepEqual(counts, {
    numPixel: 168,
    supportedPixel: 0,
    xMin: 2,
    yMin: 3,
    xMax: 14,
    yMax: 17,
  });
  for (const support of supports) {
    assert.ok(support.x >= 2 && support.x < 14 && support.y >= 3 && support.y < 17);
    assert.equal(support.z, 2);
    assert.equal(support.isMinima, true);
  }
  CleanPointer();
});

test('an empty slice has no groups', async () => {
  InitAnalyseSlice(parameters());
  const { layer } = await analyse(rectangle(8, 6, 0, 0, 0, 0));
  assert.deepEqual(layer, { width: 8, height: 6, pixelCount: 0, groupCount: 0, groups: [] });
  CleanPointer();
});

test('coordinates reach 65535', async () => {
  const longest = 65535;
  for (const [width, height] of [
    [longest, 2],
    [2, longest],
  ]) {
    InitAnalyseSlice(parameters({ width, height }));
    await analyse(rectangle(width, height, 0, 0, 0, 0));
    const corner = rectangle(width, height, width - 2, height - 2, width, height);
    const { layer } = await analyse(corner);
    assert.deepEqual([layer.width, layer.height], [width, height]);
    const [{ xMin, yMin, xMax, yMax, supports }] = layer.groups;
    assert.deepEqual([xMin, yMin, xMax, yMax], [width - 2, height - 2, width, height]);
    assert.ok(supports.length > 0);
    for (const { x, y } of supports) assert.ok(x >= xMin && x < xMax && y >= yMin && y < yMax);
    CleanPointer();
  }
});

test('without addSupport every group has an empty supports array', async () => {
  InitAnalyseSlice(parameters({ addSupport: false }));
  await analyse(rectangle(8, 6, 0, 0, 0, 0));
  const { layer } = await analyse(rectangle(8, 6, 0, 0, 8, 6));
  assert.deepEqual(layer.groups[0].supports, []);
  CleanPointer();
});

test('the buffers of a slice of 3 x 2 pixels, byte by byte', async () => {
  InitAnalyseSlice(parameters({ width: 3, height: 2, needBuffer: true }));
  // Two regions: the left column and the lower right pixel; the middle column is empty.
  const paint = (blue) => (x, y) =>
    x === 0 || (x === 2 && y === 1) ? { red: 9, green: 7, blue } : undefined;
  await analyse(slice(3, 2, paint(255)));
  const result = await analyse(slice(3, 2, paint(40)));

  const background = [0, 0, 0, 255];
  const first = [1, 0, 0, 0x80];
  const second = [2, 0, 0, 0x80];
  assert.deepEqual(
    [...result.pixelBuffer],
    [first, background, background, first, background, second].flat(),
  );
  const top = [1, 0, 0, 0xfe];
  const none = [0, 0, 0, 0];
  assert.deepEqual([...result.topPixelBuffer], [top, none, none, top, none, top].flat());
  assert.deepEqual([...result.supportedPixels], [40, 0, 0, 40, 0, 40]);
  CleanPointer();
});

test('the top-pixel buffer remembers lower layers and is zero for a new model', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 1, needBuffer: true }));
  await analyse(rectangle(4, 1, 0, 0, 3, 1));
  const second = await analyse(rectangle(4, 1, 0, 0, 1, 1));
  assert.deepEqual(
    [...second.topPixelBuffer],
    [1, 0, 0, 0xfe, 0, 0, 0, 0xfe, 0, 0, 0, 0xfe, 0, 0, 0, 0],
  );
  InitAnalyseSlice(parameters({ width: 4, height: 1, needBuffer: true }));
  const fresh = await analyse(rectangle(4, 1, 3, 0, 4, 1));
  assert.deepEqual([...fresh.topPixelBuffer], [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xfe]);
  CleanPointer();
});

test('the buffers are the host’s own: Buffers that later slices leave alone and that transfer', async () => {
  InitAnalyseSlice(parameters({ needBuffer: true }));
  const first = await analyse(rectangle(8, 6, 0, 0, 4, 4, { blue: 3 }));
  const keys = ['pixelBuffer', 'topPixelBuffer', 'supportedPixels'];
  const before = keys.map((key) => first[key].toString('hex'));
  for (let i = 0; i < 5; i += 1) await analyse(rectangle(8, 6, 0, 0, 8, 6, { blue: 200 }));
  CleanPointer();
  assert.deepEqual(
    keys.map((key) => first[key].toString('hex')),
    before,
  );
  for (const key of keys) {
    assert.ok(Buffer.isBuffer(first[key]));
    const bytes = first[key].buffer;
    const received = structuredClone(bytes, { transfer: [bytes] });
    assert.equal(Buffer.from(received).toString('hex'), before[keys.indexOf(key)]);
  }
});

test('the callback gets one argument', async () => {
  InitAnalyseSlice(parameters());
  const args = await new Promise((resolve) => {
    AnalyseSlice(rectangle(8, 6, 0, 0, 1, 1), 0, (...received) => resolve(received));
  });
  assert.equal(args.length, 1);
  CleanPointer();
});

/** What the callback of one slice sees as `this`, and what it gets. */
function callOf(pixels) {
  return new Promise((resolve) => {
    AnalyseSlice(pixels, 0, function callback(received) {
      resolve({ self: this, received });
    });
  });
}

test('`this` is undefined in the callback of a result', async () => {
  InitAnalyseSlice(parameters());
  const { self, received } = await callOf(rectangle(8, 6, 0, 0, 1, 1));
  assert.equal(received.layer.pixelCount, 1);
  assert.equal(self, undefined);
  CleanPointer();
});

test('`this` is a new empty object in the callback of an Error', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 3 }));
  assert.throws(() => InitAnalyseSlice(parameters({ width: 8, height: 6, numLayer: 'x' })));
  const calls = [];
  for (let i = 0; i < 2; i += 1) calls.push(await callOf(rectangle(8, 6, 2, 2, 3, 3)));
  for (const { self, received } of calls) {
    assert.ok(received instanceof Error);
    assert.deepStrictEqual(self, {});
  }
  assert.notEqual(calls[0].self, calls[1].self);
  CleanPointer();
});

test('thousands of regions are all reported, in raster order', async () => {
  const size = 256;
  InitAnalyseSlice(parameters({ width: size, height: size }));
  const dots = slice(size, size, (x, y) => (x % 2 === 0 && y % 2 === 0 ? {} : undefined));
  const { layer } = await analyse(dots);
  assert.equal(layer.groupCount, 128 * 128);
  assert.equal(layer.groups.length, 128 * 128);
  layer.groups.forEach((group, i) => {
    assert.equal(group.xMin, 2 * (i % 128));
    assert.equal(group.yMin, 2 * Math.floor(i / 128));
  });
  CleanPointer();
});
