// Layers of a slicer as runs with their regions. Run by ctest, which names the folder of binaries.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { binding, boxesOptions, boxOptions, modelParameters, runsOf } from './harness.mjs';

const { Model, Slicer } = binding;

// Two posts, a plate over both, and a block beside it that begins in the air.
const part = boxesOptions(
  [0, 0, 0, 4, 4, 6],
  [10, 0, 0, 14, 4, 6],
  [0, 0, 6, 14, 8, 8],
  [20, 0, 7, 24, 4, 8],
);

test('runs() gives the pixels and channels of slice()', async () => {
  const slicer = new Slicer(part);
  const layers = await slicer.runs(0, slicer.layerCount);
  assert.equal(layers.length, slicer.layerCount);
  for (const [index, { region, ...runs }] of layers.entries()) {
    const { pixels } = await slicer.slice(index);
    assert.deepEqual(runs, runsOf(pixels, slicer.width, slicer.height), `layer ${index}`);
    assert.equal(region.length, runs.begin.length);
  }
  assert.deepEqual(await slicer.runs(6), [layers[6]]);
});

test('the regions are those that the analysis numbers', async () => {
  const slicer = new Slicer(part);
  const { width, height, layerCount } = slicer;
  const model = new Model(modelParameters(width, height, { numLayer: layerCount }));
  for (const [index, runs] of (await slicer.runs(0, layerCount)).entries()) {
    const { layer } = await model.analyseRuns(runs);
    const boxes = layer.groups.map(() => ({
      numPixel: 0,
      xMin: width,
      yMin: height,
      xMax: 0,
      yMax: 0,
    }));
    for (let y = 0; y < height; y += 1) {
      for (let run = runs.rowStart[y]; run < runs.rowStart[y + 1]; run += 1) {
        const box = boxes[runs.region[run] - 1];
        box.numPixel += runs.end[run] - runs.begin[run];
        box.xMin = Math.min(box.xMin, runs.begin[run]);
        box.xMax = Math.max(box.xMax, runs.end[run]);
        box.yMin = Math.min(box.yMin, y);
        box.yMax = Math.max(box.yMax, y + 1);
      }
    }
    const told = layer.groups.map(({ numPixel, xMin, yMin, xMax, yMax }) => {
      return { numPixel, xMin, yMin, xMax, yMax };
    });
    assert.deepEqual(boxes, told, `layer ${index}`);
  }
  await model.close();
});

test('layers that are not there are refused', async () => {
  const slicer = new Slicer(boxOptions());
  await assert.rejects(slicer.runs(), { name: 'TypeError' });
  for (const index of [-1, 3, 0.5, Number.NaN]) {
    await assert.rejects(slicer.runs(index), { name: 'RangeError' });
  }
  for (const count of [0, 3, 1.5, '1', null]) {
    await assert.rejects(slicer.runs(1, count), {
      name: 'RangeError',
      message: 'The number of layers must be a whole number from 1 to 2, those from layer 1 on.',
    });
  }
});
