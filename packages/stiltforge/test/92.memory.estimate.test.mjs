import assert from 'node:assert/strict';
import { test } from 'node:test';
import { estimateMemory } from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';
import { parameters } from './harness.mjs';

const { estimateMemory: native } = loadBinary('binding.node');
const screen = { width: 3840, height: 2400, numLayer: 2000, needBuffer: false };

test('2,000 layers of a 4K screen are predicted to stay below 256 MiB', () => {
  const { total } = estimateMemory(parameters(screen), { regionsPerLayer: 20, supports: 2000 });
  assert.ok(total > 2 * 0.1 * 3840 * 2400, 'at least the overhang of the slice in work');
  assert.ok(total < 2 ** 28, `${total} bytes`);
});

test('the shares add up to the total', () => {
  const { total, slices, regions, placement, history, fixed } = estimateMemory(parameters(screen));
  assert.equal(total, slices + regions + placement + history + fixed);
});

test('buffers, layers, regions, supports and queued slices cost memory', () => {
  const plain = estimateMemory(parameters(screen)).total;
  for (const more of [
    estimateMemory(parameters({ ...screen, needBuffer: true })),
    estimateMemory(parameters({ ...screen, numLayer: 20000 })),
    estimateMemory(parameters(screen), { regionsPerLayer: 2000 }),
    estimateMemory(parameters(screen), { supports: 10000 }),
    estimateMemory(parameters(screen), { queuedSlices: 5 }),
  ]) {
    assert.ok(more.total > plain);
  }
});

test('the parameters are checked as for an analysis', () => {
  assert.throws(() => estimateMemory({ ...parameters(screen), width: -1 }), {
    code: 'ERR_STILTFORGE_PARAMETER',
    message: /width is -1/,
  });
});

test('the native estimate refuses what is no model', () => {
  for (const model of [undefined, 7, { width: 'wide' }, { width: 10, supports: Number.NaN }]) {
    assert.throws(() => native(model), { code: 'ERR_STILTFORGE_PARAMETER', message: /needs/ });
  }
});

test('the native estimate needs the size of the screen and the number of layers', () => {
  const whole = { width: 10, height: 10, layers: 1 };
  assert.ok(native(whole).total > 0);
  for (const key of Object.keys(whole)) {
    assert.throws(() => native({ ...whole, [key]: undefined }), {
      code: 'ERR_STILTFORGE_PARAMETER',
      message: new RegExp(`as ${key}\\.`),
    });
  }
});

test('a model beyond all bounds is predicted to need more than any machine has', () => {
  const { total } = native({ width: 65535, height: 65535, layers: 4e9, supports: 1e15 });
  assert.ok(total > 1e15);
});
