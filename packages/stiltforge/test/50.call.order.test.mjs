import assert from 'node:assert/strict';
import { test } from 'node:test';
import stiltforge from 'stiltforge';
import { analyse, groupImages, parameters, rectangle, runInChild } from './harness.mjs';

const { AnalyseSlice, InitAnalyseSlice, CleanPointer, CleanSlicePointer } = stiltforge;

const busy = (name) => ({
  code: 'ERR_STILTFORGE_BUSY',
  message: new RegExp(
    `^${name} cannot run while the slice with layerIndex 0 .* is being worked on`,
  ),
});

test('slices are analysed in call order, one at a time, each with its own callback', async () => {
  InitAnalyseSlice(parameters({ width: 64, height: 64, needBuffer: true }));
  const results = await Promise.all(
    Array.from({ length: 40 }, (_, i) => analyse(rectangle(64, 64, 0, 0, 64, i + 1), i)),
  );
  results.forEach((result, i) => {
    assert.equal(result.layerIndex, i);
    assert.equal(result.layer.groups[0].supportedPixel, 64 * i);
    assert.equal(result.topPixelBuffer.readUInt32LE(0), 0xfe000000 + i);
  });
  CleanPointer();
});

test('parallel calls give the results that calls one after the other give', async () => {
  const stack = Array.from({ length: 12 }, (_, i) => rectangle(80, 80, i, i, 30 + 4 * i, 80 - i));
  const settings = parameters({ width: 80, height: 80 });
  InitAnalyseSlice(settings);
  const oneByOne = [];
  for (const pixels of stack) oneByOne.push(await analyse(pixels));
  InitAnalyseSlice(settings);
  const parallel = await Promise.all(stack.map((pixels) => analyse(pixels)));
  assert.deepEqual(parallel, oneByOne);
  CleanPointer();
});

test('groups are rendered in order with the slices, so one may ask before the slice is done', async () => {
  InitAnalyseSlice(parameters({ supportStrength: 2 }));
  analyse(rectangle(8, 6, 0, 0, 0, 0));
  analyse(rectangle(8, 6, 1, 1, 6, 5));
  const images = await groupImages(1, 1);
  assert.deepEqual(images.slice(8), [5, 4]);
  CleanPointer();
});

test('a model cannot be started, freed or stripped while a job is queued or running', async () => {
  InitAnalyseSlice(parameters());
  const running = analyse(rectangle(8, 6, 0, 0, 2, 2), 0);
  const waiting = analyse(rectangle(8, 6, 0, 0, 3, 3), 1);
  assert.throws(() => InitAnalyseSlice(parameters({ numLayer: 9 })), busy('InitAnalyseSlice'));
  assert.throws(() => CleanPointer(), busy('CleanPointer'));
  assert.throws(() => CleanSlicePointer(0), busy('CleanSlicePointer'));
  assert.throws(() => CleanPointer(), {
    message: /and 1 more job waits behind it\. Call it in the last callback or later\.$/,
  });
  assert.equal((await running).sliceCount, 3);
  assert.equal((await waiting).layer.groups[0].supportedPixel, 4);
  CleanPointer();
});

test('fixed argument checks come before the busy check', async () => {
  InitAnalyseSlice(parameters());
  const running = analyse(rectangle(8, 6, 0, 0, 2, 2), 0);
  assert.throws(() => InitAnalyseSlice({}), { message: 'Object need argument "width"' });
  assert.throws(() => CleanSlicePointer('0'), { message: 'A number was expected' });
  await running;
  CleanPointer();
});

test('the last callback may start the next model or free this one', async () => {
  InitAnalyseSlice(parameters());
  const [first, next] = await new Promise((resolve, reject) => {
    AnalyseSlice(rectangle(8, 6, 0, 0, 2, 2), 0, (first) => {
      try {
        CleanSlicePointer(0);
        CleanPointer();
        InitAnalyseSlice(parameters({ width: 4, height: 4 }));
        AnalyseSlice(rectangle(4, 4, 0, 0, 3, 3), 0, (next) => {
          CleanPointer();
          resolve([first, next]);
        });
      } catch (error) {
        reject(error);
      }
    });
  });
  const groups = ({ width, height, layer }) => [width, height, layer.groups.map((g) => g.numPixel)];
  assert.deepEqual(groups(first), [8, 6, [4]]);
  assert.deepEqual(groups(next), [4, 4, [9]]);
  assert.throws(() => AnalyseSlice(rectangle(4, 4, 0, 0, 1, 1), 0, () => {}), {
    code: 'ERR_STILTFORGE_CLOSED',
  });
});

test('a callback that queues the next slice goes on without end of stack', async () => {
  InitAnalyseSlice(parameters());
  const pixels = rectangle(8, 6, 0, 0, 4, 4);
  let done = 0;
  await new Promise((resolve, reject) => {
    const next = (result) => {
      if (result instanceof Error) reject(result);
      done += 1;
      if (done === 500) resolve();
      else AnalyseSlice(pixels, done, next);
    };
    AnalyseSlice(pixels, 0, next);
  });
  assert.equal((await analyse(pixels)).layer.groups[0].supportedPixel, 16);
  CleanPointer();
});

test('an exception of the callback is uncaught in the host, the queue goes on', async () => {
  const { code, stdout, stderr } = await runInChild(`
    process.on('uncaughtException', (error) => console.log('uncaught', error));
    stiltforge.InitAnalyseSlice(parameters());
    const pixels = rectangle(8, 6, 0, 0, 4, 4);
    stiltforge.AnalyseSlice(pixels, 0, () => { throw 'a string'; });
    stiltforge.AnalyseSlice(pixels, 1, () => { throw undefined; });
    stiltforge.GroupToBitmap(0, 1, () => { throw 3; });
    stiltforge.GroupToBitmap(9, 1, () => { throw 4; });
    const result = await analyse(pixels, 2);
    console.log(result.layerIndex, result.layer.groups[0].supportedPixel);
    stiltforge.CleanPointer();
  `);
  assert.equal(stderr, '');
  assert.equal(code, 0);
  assert.equal(stdout, 'uncaught a string\nuncaught undefined\nuncaught 3\nuncaught 4\n2 16\n');
});

test('an uncaught exception of the callback ends a host without a handler, with its message', async () => {
  const { code, signal, stderr } = await runInChild(`
    stiltforge.InitAnalyseSlice(parameters());
    for (let i = 0; i < 3; i += 1) {
      stiltforge.AnalyseSlice(rectangle(8, 6, 0, 0, 4, 4), 0, () => { throw new Error('mine ' + i); });
    }
  `);
  assert.deepEqual([code, signal], [1, null]);
  assert.match(stderr, /Error: mine 0/);
});

test('promises settled in the callback run before the next callback', async () => {
  InitAnalyseSlice(parameters());
  const order = [];
  const pixels = rectangle(8, 6, 0, 0, 1, 1);
  await Promise.all(
    [0, 1, 2].map((i) =>
      analyse(pixels).then(() => {
        order.push(`callback ${i}`);
        return Promise.resolve().then(() => order.push(`then ${i}`));
      }),
    ),
  );
  assert.deepEqual(
    order,
    [0, 1, 2].flatMap((i) => [`callback ${i}`, `then ${i}`]),
  );
  CleanPointer();
});
