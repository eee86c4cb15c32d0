// The objects of binding.node as a host program sees them. Run by ctest, which names the folder of binaries.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { isMainThread, parentPort, Worker } from 'node:worker_threads';
import { binding, boxOptions } from './harness.mjs';

const { Slicer, MaskSlicer } = binding;

if (isMainThread) {
  test('tells layers, crop, origin and the mesh report', () => {
    const slicer = new Slicer({ ...boxOptions(), margin: 1, offsetX: 10 });
    assert.deepEqual(
      { ...slicer },
      {
        layerCount: 3,
        width: 6,
        height: 4,
        cropX: 307,
        cropY: 198,
        originX: -308,
        originY: 201,
        plateZ: 0,
        report: {
          triangles: 12,
          vertices: 8,
          degenerateTriangles: 0,
          openEdges: 0,
          nonManifoldEdges: 0,
          misorientedEdges: 0,
          parts: 1,
          openParts: 0,
          widestGap: 0,
          flippedParts: 0,
          cavities: 0,
          floatingParts: 0,
          floatingFrom: 0,
          signedVolume: 24,
          expectedVolume: 24,
          bounds: { min: [0, 0, 0], max: [4, 2, 3] },
        },
        turnedTriangles: new Uint32Array(),
      },
    );
  });

  test('tells which triangles the slices have turned around', () => {
    const options = boxOptions();
    const positions = options.positions.slice();
    for (const triangle of [2, 7]) {
      const [second, third] = [9 * triangle + 3, 9 * triangle + 6];
      positions.copyWithin(second, third, third + 3);
      positions.set(options.positions.subarray(second, third), third);
    }
    const { turnedTriangles, report } = new Slicer({ ...options, positions });
    assert.deepEqual(turnedTriangles, Uint32Array.of(2, 7));
    assert.equal(report.openParts, 0);
  });

  test('promises pixels, their count and the height', async () => {
    const slicer = new Slicer(boxOptions());
    const { pixels, materialPixels, z } = await slicer.slice(1);
    assert.equal(pixels.byteLength, 4 * 2 * 4);
    assert.deepEqual([...new Uint8Array(pixels, 0, 4)], [255, 255, 255, 255]);
    assert.equal(materialPixels, 8);
    assert.equal(z, 1.5);
  });

  test('runs calls in their order, any order of layers with the same bytes', async () => {
    const slicer = new Slicer(boxOptions(40, 30, 50));
    const settled = [];
    const order = [7, 3, 49, 3, 0, 7];
    const slices = await Promise.all(
      order.map(async (index, call) => {
        const slice = await slicer.slice(index);
        settled.push(call);
        return slice;
      }),
    );
    assert.deepEqual(settled, [0, 1, 2, 3, 4, 5]);
    assert.deepEqual(slices[0].pixels, slices[5].pixels);
    assert.deepEqual(slices[1].pixels, slices[3].pixels);
    assert.deepEqual(
      slices.map(({ z }) => z - 0.5),
      order,
    );
  });

  test('keeps a slicer alive until its slices are done', async () => {
    const promises = Array.from({ length: 20 }, (_, i) =>
      new Slicer(boxOptions(200, 200, 40)).slice(i),
    );
    globalThis.gc?.();
    for (const { materialPixels } of await Promise.all(promises)) {
      assert.equal(materialPixels, 40000);
    }
  });

  test('says what is wrong with an option', () => {
    const refuses = (change, message) =>
      assert.throws(() => new Slicer({ ...boxOptions(), ...change }), { message });
    refuses({ pixelSize: undefined }, 'The option "pixelSize" is missing; it must be a number.');
    refuses({ pixelSize: '1' }, 'The option "pixelSize" must be a number.');
    refuses({ positions: [0, 1, 2] }, 'The option "positions" must be a Float32Array.');
    refuses({ screenWidth: 1.5 }, /"screenWidth" is 1.5; it must be a whole number/);
    refuses({ margin: -1 }, /"margin" is -1; it must be a whole number/);
    refuses({ layerHeigth: 1 }, /^There is no option "layerHeigth"; the options are positions, /);
    refuses({ layerHeight: 0 }, /^The layer height is 0;/);
    refuses({ screenWidth: 3 }, /stands out by 1 pixel \(0.5 mm\) on the left, 1 pixel/);
    assert.throws(() => new Slicer(), TypeError);
    assert.throws(() => new Slicer(null), TypeError);
  });

  test('rejects a slice that is not there or does not fit', async () => {
    const slicer = new Slicer(boxOptions());
    await assert.rejects(slicer.slice(), { name: 'TypeError' });
    for (const index of [-1, 3, 0.5, Number.NaN, Number.POSITIVE_INFINITY]) {
      await assert.rejects(slicer.slice(index), { name: 'RangeError' });
    }
    await assert.rejects(slicer.slice(0, new ArrayBuffer(31)), {
      message: 'The buffer to fill has 31 bytes; 32 are needed.',
    });
    await assert.rejects(slicer.slice(0, new Uint8Array(32)), {
      message: 'The buffer to fill must be an ArrayBuffer.',
    });
  });

  test('makes slices of masks', async () => {
    const slicer = new MaskSlicer({
      maskWidth: 4,
      maskHeight: 1,
      layerHeight: 1,
      pixelSize: 1,
      fullOverhang: 0,
    });
    const first = slicer.next(Uint8Array.of(255, 255, 127, 0));
    const second = slicer.next(Uint8Array.of(128, 255, 255, 255));
    assert.equal((await first).materialPixels, 2);
    const { pixels, z } = await second;
    assert.deepEqual(
      [...new Uint8Array(pixels)].filter((_, i) => i % 4 === 2),
      [255, 255, 255, 0],
    );
    assert.equal(z, 1.5);
  });

  test('says what is wrong with a mask', async () => {
    const options = { maskWidth: 3, maskHeight: 1, layerHeight: 1, pixelSize: 1 };
    assert.throws(() => new MaskSlicer({ ...options, threshold: 256 }), { name: 'RangeError' });
    assert.throws(() => new MaskSlicer({ ...options, cropX: 1 }), /masks have only 3 x 1 pixels/);
    const slicer = new MaskSlicer(options);
    await assert.rejects(slicer.next([1, 2, 3]), { message: 'The mask must be a Uint8Array.' });
    await assert.rejects(slicer.next(new Uint8Array(2)), /The mask has 2 bytes; 3 are needed/);
  });

  test('works in several threads and survives their end in the middle of slices', async () => {
    for (let round = 0; round < 4; ++round) {
      const workers = [0, 1, 2].map(() => new Worker(new URL(import.meta.url)));
      await Promise.all(
        workers.map((worker) => new Promise((resolve) => worker.once('message', resolve))),
      );
      const codes = await Promise.all(workers.map((worker) => worker.terminate()));
      assert.deepEqual(codes, [1, 1, 1]);
    }
  });
} else {
  const slicer = new Slicer(boxOptions(500, 300, 50));
  const sliceForEver = async (index) => {
    for (;;) {
      await slicer.slice(index);
      parentPort.postMessage(index);
    }
  };
  for (let i = 0; i < 10; ++i) sliceForEver(i);
}
