import assert from 'node:assert/strict';
import { afterEach, test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, groupImages, parameters, rectangle, runInChild } from './harness.mjs';

const { InitAnalyseSlice, GroupToBitmap, CleanPointer, CleanSlicePointer } = stiltforge;
const never = () => assert.fail('the callback must not be called');
const square = () => rectangle(8, 6, 0, 0, 4, 4);

afterEach(() => CleanPointer());

test('the clean-up functions return undefined', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  assert.equal(CleanSlicePointer(0), undefined);
  assert.equal(CleanPointer(), undefined);
});

test('CleanPointer twice, with arguments, or before any model is harmless', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  CleanPointer(1, 2);
  CleanPointer();
  const { code } = await runInChild('stiltforge.CleanPointer(); stiltforge.CleanPointer();');
  assert.equal(code, 0);
});

test('CleanPointer before the first slice leaves the settings of the model', async () => {
  InitAnalyseSlice(parameters({ needBuffer: true }));
  CleanPointer();
  const result = await analyse(square());
  assert.equal(result.layer.pixelCount, 16);
  assert.equal(result.topPixelBuffer.readUInt32LE(0), 0xfe000000);
});

test('after CleanPointer a slice is refused until InitAnalyseSlice', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  CleanPointer();
  assert.throws(() => stiltforge.AnalyseSlice(square(), 0, never), {
    message: 'No model is open: the last one was freed. Call InitAnalyseSlice first.',
    code: 'ERR_STILTFORGE_CLOSED',
  });
  InitAnalyseSlice(parameters());
  assert.equal((await analyse(square())).layer.groups[0].supportedPixel, 0);
});

test('after CleanPointer rendering is refused', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  CleanPointer();
  assert.throws(() => GroupToBitmap(0, 1, never), {
    message: /^No model is open, so there is no group to render\./,
    code: 'ERR_STILTFORGE_CLOSED',
  });
});

test('CleanSlicePointer takes the low 16 bits of its index', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  await analyse(square());
  CleanSlicePointer(65537);
  assert.throws(() => CleanSlicePointer(65538), {
    message:
      'CleanSlicePointer got index 2, but the history holds 2 layers, counted from 0. Only analysed' +
      ' slices can be freed.',
    code: 'ERR_STILTFORGE_INDEX',
  });
});

test('CleanSlicePointer of an index beyond the history is refused', async () => {
  InitAnalyseSlice(parameters());
  for (const index of [0, 1, 65535, -1]) {
    assert.throws(() => CleanSlicePointer(index), { code: 'ERR_STILTFORGE_INDEX' });
  }
});

test('CleanSlicePointer of something that is no number is an exception of the conversion', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  for (const args of [[], ['0'], [null], [{}], [0n]]) {
    assert.throws(() => CleanSlicePointer(...args), { message: 'A number was expected' });
  }
});

test('CleanSlicePointer twice, and after CleanPointer, is harmless', async () => {
  InitAnalyseSlice(parameters());
  await analyse(square());
  CleanSlicePointer(0);
  CleanSlicePointer(0);
  CleanPointer();
  CleanSlicePointer(0);
});

test('CleanSlicePointer on the layer below the next slice does not change the next slice', async () => {
  const stack = Array.from({ length: 10 }, (_, i) => rectangle(60, 60, i, 0, 20 + 4 * i, 60));
  const run = async (clean) => {
    InitAnalyseSlice(parameters({ width: 60, height: 60, needBuffer: true }));
    const results = [];
    for (const [i, pixels] of stack.entries()) {
      results.push(await analyse(pixels));
      if (clean) CleanSlicePointer(i);
    }
    return results;
  };
  assert.deepEqual(await run(true), await run(false));
});

test('a group can be rendered after CleanSlicePointer', async () => {
  InitAnalyseSlice(parameters({ supportStrength: 4 }));
  await analyse(rectangle(8, 6, 0, 0, 0, 0));
  await analyse(square());
  const before = await groupImages(1, 1);
  CleanSlicePointer(1);
  assert.deepEqual(await groupImages(1, 1), before);
  assert.ok(before[0].includes(255));
});
