import assert from 'node:assert/strict';
import { afterEach, beforeEach, test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, groupImages, parameters, rectangle, slice } from './harness.mjs';

const { InitAnalyseSlice, GroupToBitmap, CleanPointer } = stiltforge;
const never = () => assert.fail('the callback must not be called');

beforeEach(() => InitAnalyseSlice(parameters({ width: 20, height: 16, supportStrength: 20 })));
afterEach(() => CleanPointer());

/** An island in the second slice, blue and green set to what the pixel's place says. */
async function analyseIsland() {
  await analyse(rectangle(20, 16, 0, 0, 0, 0));
  const result = await analyse(
    slice(20, 16, (x, y) =>
      x >= 3 && x < 15 && y >= 2 && y < 12 ? { blue: x, green: y } : undefined,
    ),
  );
  return result.layer.groups[0];
}

const pixel = (image, width, x, y) => [
  ...image.subarray((y * width + x) * 4, (y * width + x) * 4 + 4),
];

test('fewer than three arguments: the count message', () => {
  for (const args of [[], [0], [0, 1]]) {
    assert.throws(() => GroupToBitmap(...args), { message: 'Expected exactly 5 argument' });
  }
});

test('an index that is no number fails in the conversion, a callback that is none is refused', () => {
  assert.throws(() => GroupToBitmap('0', 1, never), { message: 'A number was expected' });
  assert.throws(() => GroupToBitmap(0, '1', never), { message: 'A number was expected' });
  assert.throws(() => GroupToBitmap(0, 1, 'callback'), {
    message: 'Expected an Function as 2 argument',
  });
});

test('the callback gets eight Buffers, then width and height, with `this` undefined', async () => {
  await analyseIsland();
  const { self, args } = await new Promise((resolve) => {
    GroupToBitmap(1, 1, function callback(...received) {
      resolve({ self: this, args: received });
    });
  });
  assert.equal(self, undefined);
  assert.equal(args.length, 10);
  assert.deepEqual(args.slice(8), [12, 10]);
  for (const image of args.slice(0, 8)) {
    assert.ok(Buffer.isBuffer(image));
    assert.equal(image.length, 12 * 10 * 4);
  }
});

test('the images show the sampling state', async () => {
  const { supports } = await analyseIsland();
  assert.ok(supports.length > 1);
  const [sample, ghost, angle, score, scoreSupport, support, stroke, combined, width] =
    await groupImages(1, 1);
  for (const { x, y } of supports) {
    assert.deepEqual(pixel(support, width, x - 3, y - 2), [255, 255, 255, 255]);
    assert.deepEqual(pixel(scoreSupport, width, x - 3, y - 2).slice(1), [255, 255, 255]);
  }
  let samples = 0;
  for (let y = 0; y < 10; y += 1) {
    for (let x = 0; x < 12; x += 1) {
      const grey = pixel(sample, width, x, y)[0];
      assert.ok(grey === 255 || grey === 100);
      if (grey !== 255) continue;
      samples += 1;
      assert.deepEqual(pixel(angle, width, x, y), [0, 0, x + 3, 255]);
      assert.deepEqual(pixel(stroke, width, x, y), [0, y + 2, 0, 255]);
      assert.deepEqual(pixel(ghost, width, x, y), [0, 0, 0, 255]);
      assert.deepEqual(pixel(combined, width, x, y), [0, y + 2, x + 3, 255]);
    }
  }
  assert.ok(samples > 0);
  const brightest = Math.max(...score.filter((_, i) => i % 4 === 0));
  assert.equal(brightest, score[(9 * width + 11) * 4]);
});

test('a region of one pixel, which never gets a support, gives images of one pixel', async () => {
  await analyse(rectangle(20, 16, 0, 0, 0, 0));
  await analyse(rectangle(20, 16, 7, 5, 8, 6, { blue: 30, green: 40 }));
  const images = await groupImages(1, 1);
  assert.deepEqual(images.slice(8), [1, 1]);
  for (const image of images.slice(0, 8)) assert.deepEqual(image, Buffer.alloc(4));
});

test('the placeholder group is empty', async () => {
  await analyseIsland();
  const images = await groupImages(1, 0);
  assert.deepEqual(images.slice(8), [0, 0]);
  for (const image of images.slice(0, 8)) assert.equal(image.length, 0);
});

test('a group that was never sampled gives images of zeros', async () => {
  await analyse(rectangle(20, 16, 2, 3, 7, 5));
  const images = await groupImages(0, 1);
  assert.deepEqual(images.slice(8), [5, 2]);
  for (const image of images.slice(0, 8)) assert.deepEqual(image, Buffer.alloc(40));
});

test('indices wrap like unsigned integers, the layer index in 16 bits', async () => {
  await analyseIsland();
  const images = await groupImages(65536 + 1, 2 ** 32 + 1);
  assert.deepEqual(images, await groupImages(1, 1));
});

test('a layer or group that does not exist gives the callback an Error, and only that', async () => {
  await analyseIsland();
  const received = (layer, group) =>
    new Promise((resolve) => {
      GroupToBitmap(layer, group, function callback(...args) {
        resolve({ self: this, args });
      });
    });
  for (const [layer, group, message] of [
    [2, 1, 'There is no layer 2: 2 layers have been analysed, counted from 0.'],
    [65535, 1, 'There is no layer 65535: 2 layers have been analysed, counted from 0.'],
    [1, 2, 'There is no group 2 in layer 1: its groups are numbered from 1 to 1.'],
    [
      1,
      4294967295,
      'There is no group 4294967295 in layer 1: its groups are numbered from 1 to 1.',
    ],
    [0, 1, 'There is no group 1 in layer 0: it has no groups.'],
  ]) {
    const {
      self,
      args: [error, ...rest],
    } = await received(layer, group);
    assert.equal(Object.getPrototypeOf(error), Error.prototype);
    assert.equal(error.message, message);
    assert.equal(error.code, 'ERR_STILTFORGE_INDEX');
    assert.deepEqual(rest, []);
    assert.deepStrictEqual(self, {}, '`this` is a new empty object');
  }
});

test('before the first slice there is nothing to render', async () => {
  await assert.rejects(groupImages(0, 1), {
    message: 'There is no layer 0: 0 layers have been analysed, counted from 0.',
  });
});

test('rendering changes nothing: the next slice is the same with and without it', async () => {
  const above = () => analyse(rectangle(20, 16, 0, 0, 20, 16));
  await analyseIsland();
  const plain = await above();
  InitAnalyseSlice(parameters({ width: 20, height: 16, supportStrength: 20 }));
  await analyseIsland();
  await groupImages(1, 1);
  assert.deepEqual(await above(), plain);
});
