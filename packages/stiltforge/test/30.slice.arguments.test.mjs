import assert from 'node:assert/strict';
import { afterEach, beforeEach, test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, parameters, rectangle, runInChild } from './harness.mjs';

const { AnalyseSlice, InitAnalyseSlice, CleanPointer } = stiltforge;
const never = () => assert.fail('the callback must not be called');

beforeEach(() => InitAnalyseSlice(parameters()));
afterEach(() => CleanPointer());

function assertRefused(args, message, code) {
  assert.throws(
    () => AnalyseSlice(...args),
    (error) => {
      assert.equal(Object.getPrototypeOf(error), Error.prototype);
      assert.equal(error.message, message);
      assert.equal(error.code, code);
      return true;
    },
  );
}

test('fewer than three arguments: the count message', () => {
  const count = 'Expected exactly 5 argument';
  assertRefused([], count);
  assertRefused([1], count);
  assertRefused([new ArrayBuffer(192), 0], count);
});

test('arguments are checked from left to right', () => {
  const bytes = new ArrayBuffer(192);
  assertRefused(['no', 'no', 'no'], 'Expected an ArrayBuffer as 0 argument');
  assertRefused([bytes, '0', 'no'], 'Expected an Number as 1 argument');
  assertRefused([bytes, 0, {}], 'Expected an Function as 2 argument');
});

test('only an ArrayBuffer is taken: no typed array, Buffer, DataView or SharedArrayBuffer', () => {
  const others = [
    new Uint8Array(192),
    new Uint8ClampedArray(192),
    Buffer.alloc(192),
    new DataView(new ArrayBuffer(192)),
    new SharedArrayBuffer(192),
    null,
    [],
  ];
  for (const other of others) {
    assertRefused([other, 0, never], 'Expected an ArrayBuffer as 0 argument');
  }
});

test('further arguments are ignored, the call returns undefined', async () => {
  await new Promise((resolve) => {
    const returned = AnalyseSlice(new ArrayBuffer(192), 0, resolve, 1, 2, 3);
    assert.equal(returned, undefined);
  });
});

test('an ArrayBuffer shorter than the slice is refused, with both sizes', () => {
  assertRefused(
    [new ArrayBuffer(191), 0, never],
    "The slice's ArrayBuffer holds 191 bytes, but a slice of 8 x 6 pixels needs 192 bytes, 4 for" +
      ' each. Pass the whole image, or call InitAnalyseSlice with its width and height.',
    'ERR_STILTFORGE_SLICE',
  );
});

test('a longer ArrayBuffer is taken, its rest ignored', async () => {
  const long = new Uint8Array(500).fill(255);
  long.set(new Uint8Array(rectangle(8, 6, 0, 0, 2, 2)));
  assert.equal((await analyse(long.buffer)).layer.pixelCount, 4);
});

test('a detached ArrayBuffer is refused', () => {
  const pixels = rectangle(8, 6, 0, 0, 2, 2);
  structuredClone(pixels, { transfer: [pixels] });
  assertRefused(
    [pixels, 0, never],
    "The slice's ArrayBuffer is detached, its memory was transferred; a slice of 8 x 6 pixels needs" +
      ' 192 bytes. Pass the buffer before it is transferred, or a copy of it.',
    'ERR_STILTFORGE_SLICE',
  );
});

test('the slice is copied: changing or transferring it after the call changes nothing', async () => {
  const pixels = rectangle(8, 6, 0, 0, 2, 2);
  const result = analyse(pixels);
  new Uint8Array(pixels).fill(255);
  structuredClone(pixels, { transfer: [pixels] });
  assert.equal((await result).layer.pixelCount, 4);
});

test('layerIndex keeps its low 16 bits and changes nothing else', async () => {
  const pixels = rectangle(8, 6, 0, 0, 2, 2);
  assert.equal((await analyse(pixels, 70000)).layerIndex, 4464);
  assert.equal((await analyse(pixels, -1)).layerIndex, 65535);
  assert.equal((await analyse(pixels, 2.9)).layerIndex, 2);
  assert.equal((await analyse(pixels, NaN)).layerIndex, 0);
  assert.equal((await analyse(pixels, 5)).layer.groups[0].supportedPixel, 4);
});

test('before any InitAnalyseSlice a slice is an empty image', async () => {
  const { stdout, code } = await runInChild(`
    console.log(JSON.stringify(await analyse(new ArrayBuffer(0), 3)));
  `);
  assert.equal(code, 0);
  assert.equal(
    stdout.trim(),
    JSON.stringify({
      pixelBuffer: null,
      topPixelBuffer: null,
      width: 0,
      height: 0,
      sliceCount: 0,
      needBuffer: false,
      layerIndex: 3,
      layer: { width: 0, height: 0, pixelCount: 0, groupCount: 0, groups: [] },
    }),
  );
});
