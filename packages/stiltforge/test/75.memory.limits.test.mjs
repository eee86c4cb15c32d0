import assert from 'node:assert/strict';
import { test } from 'node:test';
import { runInChild as run } from './harness.mjs';

// With an arena for each thread the C library would spend the little address space that is left, and
// the host itself would run out of memory.
const runInChild = (source, options) => run(source, { ...options, env: { MALLOC_ARENA_MAX: '1' } });

// A limit on the address space is Linux's, and the address sanitizer reserves terabytes of it.
const skip = process.platform !== 'linux' || 'ASAN_OPTIONS' in process.env;

const limit = `
  import { execFileSync } from 'node:child_process';
  import { readFileSync } from 'node:fs';
  /** Lets the process grow by that many MiB and no more, until it is called again. */
  const allow = (mebibytes) => {
    const [, used] = /VmSize:\\s+(\\d+) kB/.exec(readFileSync('/proc/self/status', 'utf8'));
    const bytes = Number(used) * 1024 + mebibytes * 2 ** 20;
    execFileSync('prlimit', ['--pid', String(process.pid), '--as=' + bytes + ':']);
  };
  const attempt = (action) => {
    try {
      action();
      return 'done';
    } catch (error) {
      return error.code + ' ' + error.message;
    }
  };
  // The threads of the process are started, so that they need no memory later.
  stiltforge.InitAnalyseSlice(parameters());
  await analyse(rectangle(8, 6, 0, 0, 4, 4));
`;

function assertEnded({ code, signal, stderr, stdout, timedOut }, ...lines) {
  assert.deepEqual(
    { code, signal, stderr, timedOut },
    { code: 0, signal: null, stderr: '', timedOut: false },
  );
  assert.equal(stdout, lines.map((line) => `${line}\n`).join(''));
}

test('the largest slices only reserve memory until a slice comes', async () => {
  const child = await runInChild(
    `
    const settings = parameters({ width: 46340, height: 46340, needBuffer: false });
    stiltforge.InitAnalyseSlice(settings);
    try {
      stiltforge.AnalyseSlice(new ArrayBuffer(100), 0, () => {});
    } catch (error) {
      console.log(error.message);
    }
    console.log(process.memoryUsage().rss < 300 * 2 ** 20);
    `,
    { timeoutSeconds: 20 },
  );
  assertEnded(
    child,
    "The slice's ArrayBuffer holds 100 bytes, but a slice of 46340 x 46340 pixels needs 8589582400" +
      ' bytes, 4 for each. Pass the whole image, or call InitAnalyseSlice with its width and height.',
    'true',
  );
});

test('the largest ghostRadius only reserves its table until a slice comes', async () => {
  const child = await runInChild(`
    stiltforge.InitAnalyseSlice(parameters());
    const before = process.memoryUsage().rss;
    stiltforge.InitAnalyseSlice(parameters({ ghostRadius: 4096 }));
    console.log(process.memoryUsage().rss - before < 30 * 2 ** 20);
    await analyse(rectangle(8, 6, 0, 0, 4, 4));
    console.log(process.memoryUsage().rss - before > 60 * 2 ** 20);
  `);
  assertEnded(child, 'true', 'true');
});

test('a model whose top-pixel buffer does not fit is refused, the open one goes on', {
  skip,
}, async () => {
  const child = await runInChild(`${limit}
    allow(500);
    console.log(attempt(() =>
      stiltforge.InitAnalyseSlice(parameters({ width: 20000, height: 20000, needBuffer: true })),
    ));
    console.log((await analyse(rectangle(8, 6, 0, 0, 4, 4))).layer.groups[0].supportedPixel);
  `);
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory for slices of 20000 x 20000 pixels: the top-pixel buffer' +
      ' alone needs 1600000000 bytes. Use a smaller image, or needBuffer false.',
    '16',
  );
});

test('a ghost spread table that does not fit is refused, the open model goes on', {
  skip,
}, async () => {
  const child = await runInChild(`${limit}
    allow(40);
    console.log(attempt(() => stiltforge.InitAnalyseSlice(parameters({ ghostRadius: 4000 }))));
    console.log((await analyse(rectangle(8, 6, 0, 0, 4, 4))).layer.groups[0].supportedPixel);
  `);
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory for the spread table of ghostRadius 4000.',
    '16',
  );
});

for (const needBuffer of [false, true]) {
  test(`a slice that does not fit is refused (needBuffer ${needBuffer})`, { skip }, async () => {
    const child = await runInChild(`${limit}
      stiltforge.InitAnalyseSlice(parameters({ width: 8000, height: 8000, needBuffer: ${needBuffer} }));
      // Material that hangs over everywhere: so many support and stroke values.
      const pixels = new Uint8Array(256000000).fill(1).buffer;
      allow(${needBuffer ? 350 : 100});
      console.log(attempt(() => stiltforge.AnalyseSlice(pixels, 0, () => {})));
      stiltforge.CleanPointer();
    `);
    assertEnded(
      child,
      'ERR_STILTFORGE_MEMORY Not enough memory to take the slice in: a slice of 8000 x 8000 pixels' +
        ` needs 256000000 bytes${needBuffer ? ', and 9 for each pixel for the result' : ''}.`,
    );
  });
}

test('memory that runs out during the analysis is an Error of the callback', { skip }, async () => {
  const child = await runInChild(`${limit}
    stiltforge.InitAnalyseSlice(parameters({ width: 4000, height: 4000 }));
    // Four million regions of one pixel.
    const dots = slice(4000, 2, (x, y) => (x % 2 === 0 && y === 0 ? { blue: 255 } : undefined));
    const pixels = new Uint8Array(4 * 4000 * 4000);
    for (let at = 0; at < pixels.length; at += dots.byteLength) pixels.set(new Uint8Array(dots), at);
    allow(250);
    const error = await analyse(pixels.buffer, 5).catch((reason) => reason);
    console.log(error.code, error.message);
    stiltforge.InitAnalyseSlice(parameters());
    console.log((await analyse(rectangle(8, 6, 0, 0, 4, 4))).layer.pixelCount);
  `);
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory for the slice with layerIndex 5 (4000 x 4000 pixels). Use' +
      ' smaller slices, or free memory and start the model again.',
    '16',
  );
});

test('memory that runs out while a group is rendered is an Error, whenever it happens', {
  skip,
}, async () => {
  const child = await runInChild(`${limit}
    const side = 1500;
    stiltforge.InitAnalyseSlice(parameters({ width: side, height: side, supportStrength: 1e6 }));
    await analyse(rectangle(side, side, 0, 0, 0, 0));
    await analyse(rectangle(side, side, 0, 0, side, side));
    const outcomes = new Set();
    for (let mebibytes = 40; mebibytes < 200; mebibytes += 4) {
      allow(mebibytes);
      outcomes.add(await groupImages(1, 1).then((images) => images.slice(8).join(), (error) => error.message));
    }
    for (const outcome of outcomes) console.log(outcome);
  `);
  assertEnded(
    child,
    'Not enough memory for group 1 of layer 1. Use smaller slices, or free memory and start the model' +
      ' again.',
    '1500,1500',
  );
});

const analysisLimit = `${limit}
  const { Analysis } = await import(analysisUrl);
  const create = (changes) => Analysis.create(parameters(changes));
  const emptyRuns = (rows) =>
    ({ rowStart: new Uint32Array(rows + 1), begin: new Uint16Array(0), end: new Uint16Array(0) });
  // Its threads are started, too.
  const first = create();
  await first.analyse(rectangle(8, 6, 0, 0, 4, 4));
`;

test('an analysis that does not fit is refused, another one goes on', { skip }, async () => {
  const child = await runInChild(`${analysisLimit}
    allow(40);
    console.log(attempt(() => create({ width: 20000, height: 20000, needBuffer: true })));
    console.log(attempt(() => create({ ghostRadius: 4000 })));
    console.log((await first.analyse(rectangle(8, 6, 0, 0, 4, 4))).layer.groups[0].supportedPixel);
  `);
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory for slices of 20000 x 20000 pixels: the top-pixel buffer' +
      ' alone needs 1600000000 bytes. Use a smaller image, or needBuffer false.',
    'ERR_STILTFORGE_MEMORY Not enough memory for the spread table of ghostRadius 4000.',
    '16',
  );
});

test('a slice of an analysis that does not fit is refused, and the analysis goes on', {
  skip,
}, async () => {
  const child = await runInChild(`${analysisLimit}
    const analysis = create({ width: 8000, height: 8000 });
    const pixels = new Uint8Array(256000000).fill(1);
    allow(200);
    const error = await analysis.analyse(pixels).catch((reason) => reason);
    console.log(error.code, error.message, analysis.sliceCount);
    console.log((await analysis.analyse(emptyRuns(8000))).layerIndex);
  `);
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory to take the slice in: a slice of 8000 x 8000 pixels needs' +
      ' 256000000 bytes. 0',
    '0',
  );
});

test('slices queued behind one that failed fail, too: they would lie on a layer that is not theirs', {
  skip,
}, async () => {
  const child = await runInChild(`${analysisLimit}
    const analysis = create({ width: 4000, height: 4000 });
    // Four million regions of one pixel.
    const begin = Uint16Array.from({ length: 4e6 }, (_, i) => 2 * (i % 2000));
    const rowStart = Uint32Array.from({ length: 4001 }, (_, y) => 2000 * Math.ceil(y / 2));
    const dots = { rowStart, begin, end: begin.map((column) => column + 1) };
    allow(250);
    const jobs = [dots, emptyRuns(4000), emptyRuns(4000)].map((slice) => analysis.analyse(slice));
    for (const { reason } of await Promise.allSettled(jobs)) console.log(reason.code, reason.message);
    const later = [analysis.analyse(emptyRuns(4000)), analysis.groupImages(0, 0)];
    for (const { reason } of await Promise.allSettled(later)) console.log(reason.code);
    await analysis.close();
    console.log((await first.analyse(rectangle(8, 6, 0, 0, 4, 4))).layer.groups[0].supportedPixel);
  `);
  const closed =
    'ERR_STILTFORGE_CLOSED An earlier slice failed (there was not enough memory), so what lies above' +
    ' it would be wrong. Close this analysis and start the model again.';
  assertEnded(
    child,
    'ERR_STILTFORGE_MEMORY Not enough memory to analyse the slice. Use smaller slices, or free memory' +
      ' and start the model again.',
    closed,
    closed,
    'ERR_STILTFORGE_CLOSED',
    'ERR_STILTFORGE_CLOSED',
    '16',
  );
});
