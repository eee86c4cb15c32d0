// What a host does with its memory while a job runs has no effect on the job. Run by ctest, which
// names the folder of binaries.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setFlagsFromString } from 'node:v8';
import { createContext, runInContext, runInNewContext } from 'node:vm';
import { binding, boxOptions } from './harness.mjs';

const { Slicer, MaskSlicer } = binding;

setFlagsFromString('--expose-gc');
const collectGarbage = runInNewContext('gc');

const otherRealm = createContext({});
const inOtherRealm = (code) => runInContext(code, otherRealm);

const [width, depth] = [400, 300];
const sliceBytes = 4 * width * depth;
const slicer = new Slicer(boxOptions(width, depth, 20));

/** Ways to take memory away from a buffer whose job is still waiting or running. */
const losses = {
  shrinks: (buffer) => buffer.resize(0),
  transfers: (buffer) => structuredClone(buffer, { transfer: [buffer] }),
  'transfers and collects': (buffer) => {
    structuredClone(buffer, { transfer: [buffer] });
    collectGarbage();
  },
};

const resizable = (bytes) => new ArrayBuffer(bytes, { maxByteLength: bytes });

function assertWholeSlice({ pixels, materialPixels }) {
  assert.equal(materialPixels, width * depth);
  assert.equal(pixels.byteLength, sliceBytes);
  assert.ok(new Uint8Array(pixels).every((byte, i) => byte === 255 || i % 4 === 1));
}

test('a recycled buffer is detached by the call, and its memory comes back', async () => {
  const recycled = new ArrayBuffer(sliceBytes);
  const promise = slicer.slice(0, recycled);
  assert.equal(recycled.byteLength, 0);
  assertWholeSlice(await promise);
});

for (const [what, lose] of Object.entries(losses)) {
  test(`a host that ${what} the recycled buffer during the job changes nothing`, async () => {
    for (let layer = 0; layer < 20; ++layer) {
      const recycled = resizable(sliceBytes);
      const promise = slicer.slice(layer, recycled);
      try {
        lose(recycled);
      } catch (error) {
        // A detached buffer has no size to change.
        assert.ok(error instanceof TypeError);
      }
      assertWholeSlice(await promise);
    }
  });

  test(`a host that ${what} the mask during the job changes nothing`, async () => {
    const [maskWidth, maskHeight] = [1500, 1000];
    const options = { maskWidth, maskHeight, layerHeight: 1, pixelSize: 1 };
    const masks = new MaskSlicer(options);
    for (let layer = 0; layer < 10; ++layer) {
      const buffer = resizable(maskWidth * maskHeight);
      const promise = masks.next(new Uint8Array(buffer).fill(255));
      lose(buffer);
      assert.equal((await promise).materialPixels, maskWidth * maskHeight);
    }
  });
}

test('a mask that is changed after the call counts as it was', async () => {
  const masks = new MaskSlicer({ maskWidth: 800, maskHeight: 800, layerHeight: 1, pixelSize: 1 });
  const mask = new Uint8Array(800 * 800).fill(255);
  const promise = masks.next(mask);
  mask.fill(0);
  assert.equal((await promise).materialPixels, 800 * 800);
});

test('a mask in shared memory is copied too', async () => {
  const masks = new MaskSlicer({ maskWidth: 8, maskHeight: 8, layerHeight: 1, pixelSize: 1 });
  const mask = new Uint8Array(new SharedArrayBuffer(64)).fill(255);
  assert.equal((await masks.next(mask)).materialPixels, 64);
});

test('buffers of another realm are buffers', async () => {
  assertWholeSlice(await slicer.slice(0, inOtherRealm(`new ArrayBuffer(${sliceBytes})`)));
  const masks = new MaskSlicer({ maskWidth: 8, maskHeight: 8, layerHeight: 1, pixelSize: 1 });
  const mask = inOtherRealm('new Uint8Array(64).fill(200)');
  assert.equal((await masks.next(mask)).materialPixels, 64);
  const { positions } = boxOptions();
  otherRealm.corners = [...positions];
  const foreign = new Slicer({
    ...boxOptions(),
    positions: inOtherRealm('new Float32Array(corners)'),
  });
  assert.equal(foreign.report.triangles, 12);
});

test('memory that is detached, shared or shrunk is refused in words', async () => {
  const detached = new ArrayBuffer(sliceBytes);
  structuredClone(detached, { transfer: [detached] });
  await assert.rejects(slicer.slice(0, detached), {
    message: `The buffer to fill has 0 bytes; ${sliceBytes} are needed.`,
  });
  await assert.rejects(slicer.slice(0, new SharedArrayBuffer(sliceBytes)), {
    message: 'The buffer to fill must be an ArrayBuffer.',
  });
  const masks = new MaskSlicer({ maskWidth: 8, maskHeight: 8, layerHeight: 1, pixelSize: 1 });
  const shrunk = resizable(64);
  const mask = new Uint8Array(shrunk, 0, 64);
  shrunk.resize(63);
  await assert.rejects(masks.next(mask), {
    message: 'The mask has 0 bytes; 64 are needed, one for each pixel.',
  });
});

test('memory that no host can give away is left to its owner', async () => {
  const { buffer } = new WebAssembly.Memory({ initial: 1 });
  const square = new Slicer(boxOptions(128, 128, 1));
  // Whether it is copied or refused is up to the version of Node.
  const slice = await square.slice(0, buffer).catch((error) => error);
  if (slice instanceof Error) assert.equal(slice.name, 'DataCloneError');
  else assert.equal(slice.materialPixels, 128 * 128);
  assert.equal(buffer.byteLength, 65536);
  assert.ok(new Uint8Array(buffer).every((byte) => byte === 0));
});

test('positions that are detached are a mesh without triangles', () => {
  const options = boxOptions();
  structuredClone(options.positions.buffer, { transfer: [options.positions.buffer] });
  assert.throws(() => new Slicer(options), /The mesh has no triangles/);
});

test('a getter that takes the positions away before they are read leaves no triangles', () => {
  const options = boxOptions();
  const { positions } = options;
  Object.defineProperty(options, 'layerHeight', {
    enumerable: true,
    get() {
      structuredClone(positions.buffer, { transfer: [positions.buffer] });
      return 1;
    },
  });
  assert.throws(() => new Slicer(options), /The mesh has no triangles/);
});
