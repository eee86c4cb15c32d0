import assert from 'node:assert/strict';
import { afterEach, test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, parameters } from './harness.mjs';

const { InitAnalyseSlice, CleanPointer } = stiltforge;
afterEach(() => CleanPointer());

/** One row of RGBA pixels. */
const row = (...pixels) => Uint8Array.from(pixels.flat()).buffer;
const none = [0, 0, 0, 255];

test('a pixel is material when its red is not 0, whatever its alpha', async () => {
  InitAnalyseSlice(parameters({ width: 5, height: 1, needBuffer: true }));
  const { layer, pixelBuffer, supportedPixels } = await analyse(
    row([1, 0, 9, 0], [255, 0, 8, 128], [7, 0, 7, 254], none, [3, 0, 6, 255]),
  );
  assert.equal(layer.pixelCount, 4);
  assert.deepEqual(
    layer.groups.map(({ xMin, xMax }) => [xMin, xMax]),
    [
      [0, 3],
      [4, 5],
    ],
  );
  assert.equal(pixelBuffer.readUInt32LE(0), 0x80000001);
  assert.deepEqual([...supportedPixels], [9, 8, 7, 0, 6]);
});

test('a pixel without red is background, whatever its green, blue and alpha, and stays as sent', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 1, needBuffer: true }));
  const odd = [
    [0, 5, 6, 255],
    [0, 1, 0, 0x80],
    [0, 255, 255, 0],
  ];
  const { layer, pixelBuffer, topPixelBuffer, supportedPixels } = await analyse(
    row(...odd, [9, 0, 4, 255]),
  );
  assert.equal(layer.pixelCount, 1);
  assert.deepEqual([...pixelBuffer.subarray(0, 12)], odd.flat());
  assert.deepEqual([...topPixelBuffer.subarray(0, 12)], Array(12).fill(0));
  assert.deepEqual([...supportedPixels], [0, 0, 0, 4]);
});

test('coloured background below is not material: nothing rests on it', async () => {
  InitAnalyseSlice(parameters({ width: 4, height: 1 }));
  const solid = [9, 0, 0, 255];
  await analyse(row([0, 1, 0, 255], [0, 0, 1, 255], [0, 255, 255, 0x80], solid));
  const { layer } = await analyse(row(solid, solid, solid, solid));
  assert.equal(layer.groups[0].supportedPixel, 1);
});
