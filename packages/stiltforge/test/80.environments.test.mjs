import assert from 'node:assert/strict';
import { test } from 'node:test';
import { runInChild } from './harness.mjs';

/** Passes when the child ended by itself, quietly, with this output. */
function assertEnded(child, { code = 0, signal = null, stdout } = {}) {
  const { stderr, timedOut } = child;
  assert.deepEqual(
    { code: child.code, signal: child.signal, stderr, timedOut },
    { code, signal, stderr: '', timedOut: false },
  );
  if (stdout !== undefined) assert.equal(child.stdout, stdout);
}

// In a worker thread: `stiltforge`, the harness, and slices that take a while.
const worker = `
  import { Worker } from 'node:worker_threads';
  import { once } from 'node:events';
  import { setTimeout as sleep } from 'node:timers/promises';
  const prologue = \`
    import { parentPort, workerData, threadId } from 'node:worker_threads';
    import stiltforge from '\${addonUrl}';
    import { parameters, slice, rectangle, analyse, groupImages } from '\${harnessUrl}';
    const size = 600;
    const big = (needBuffer) => parameters({ width: size, height: size, ghostRadius: 30, needBuffer });
    const pattern = () => slice(size, size, (x, y) => (x % 90 < 60 && y % 90 < 70 ? { blue: 20 } : undefined));
  \`;
  const startWorker = (source, workerData) => {
    const url = new URL('data:text/javascript,' + encodeURIComponent(prologue + source));
    return new Worker(url, { workerData });
  };
  const said = async (thread) => (await once(thread, 'message'))[0];
  const attempt = (action) => {
    try {
      action();
      return 'done';
    } catch (error) {
      return error.code + ' ' + error.message;
    }
  };
`;

/** Node tells the names of threads from 20.16 on; before, environments are numbered as they load. */
const named = (thread, number) =>
  'getBuiltinModule' in process ? thread : `environment ${number} (in order of loading)`;

const heldBy = (who) =>
  `ERR_STILTFORGE_MODEL_OPEN The model of the five functions, one in a process, is held by ${who}, which` +
  ' has it open. Call CleanPointer there or end that thread first, or use the Analysis objects of' +
  ' stiltforge/analysis, of which a process may have many.';

test('a second environment gets an Error that names the holder, until CleanPointer', async () => {
  const child = await runInChild(`${worker}
    const thread = startWorker(\`
      parentPort.on('message', async (what) => {
        try {
          if (what === 'init') stiltforge.InitAnalyseSlice(parameters());
          if (what === 'slice') await analyse(rectangle(8, 6, 0, 0, 2, 2));
          if (what === 'render') stiltforge.GroupToBitmap(0, 1, () => {});
          if (what === 'clean') stiltforge.CleanPointer();
          if (what === 'strip') stiltforge.CleanSlicePointer(0);
          parentPort.postMessage('done');
        } catch (error) {
          parentPort.postMessage(error.code + ' ' + error.message);
        }
      });
    \`);
    const ask = (what) => {
      thread.postMessage(what);
      return said(thread);
    };
    stiltforge.InitAnalyseSlice(parameters());
    for (const what of ['init', 'slice', 'render', 'clean', 'strip']) console.log(await ask(what));
    stiltforge.CleanPointer();
    console.log(await ask('slice'));
    console.log(await ask('init'));
    console.log(await ask('slice'));
    console.log(attempt(() => stiltforge.InitAnalyseSlice(parameters())));
    console.log(attempt(() => stiltforge.CleanPointer()));
    await thread.terminate();
    console.log(attempt(() => stiltforge.AnalyseSlice(new ArrayBuffer(192), 0, () => {})));
    console.log(attempt(() => stiltforge.InitAnalyseSlice(parameters())));
  `);
  const closed =
    'ERR_STILTFORGE_CLOSED No model is open: the last one was freed. Call InitAnalyseSlice first.';
  const lines = [
    ...Array(5).fill(heldBy(named('the main thread', 1))),
    closed,
    'done',
    'done',
    ...Array(2).fill(heldBy(named('worker thread 1', 2))),
    closed,
    'done',
  ];
  assertEnded(child, { stdout: `${lines.join('\n')}\n` });
});

test('calls that keep nothing never look like a holder to another thread', async () => {
  const child = await runInChild(`${worker}
    const clean = \`
      let refused = 0;
      for (let i = 0; i < 20000; i += 1) {
        try {
          stiltforge.CleanPointer();
        } catch {
          refused += 1;
        }
      }
      parentPort.postMessage(refused);
    \`;
    const threads = [startWorker(clean), startWorker(clean)];
    console.log(await Promise.all(threads.map(said)));
  `);
  assert.equal(child.stdout, '[ 0, 0 ]\n', child.stderr);
});

test('a second load in the same thread is an environment of its own', async () => {
  const child = await runInChild(`${worker}
    import { createRequire } from 'node:module';
    const require = createRequire(addonUrl);
    const file = Object.keys(require.cache).find((key) => key.endsWith('.node'));
    const again = { exports: {} };
    process.dlopen(again, file);
    stiltforge.InitAnalyseSlice(parameters());
    console.log(attempt(() => again.exports.InitAnalyseSlice(parameters())));
    stiltforge.CleanPointer();
    console.log(attempt(() => again.exports.InitAnalyseSlice(parameters())));
  `);
  const who = named('another load of the module in the main thread', 1);
  assertEnded(child, { stdout: `${heldBy(who)}\ndone\n` });
});

test('a worker thread that is terminated while its jobs run and wait takes nothing with it', async () => {
  const child = await runInChild(
    `${worker}
    import { readdirSync } from 'node:fs';
    const threads = () => readdirSync('/proc/self/task').length;
    // Starts the threads that stay as long as this one has the module.
    const [width, height] = [600, 600];
    stiltforge.InitAnalyseSlice(parameters({ width, height }));
    await analyse(slice(width, height, (x, y) => (x % 90 < 60 && y % 90 < 70 ? {} : undefined)));
    stiltforge.CleanPointer();
    let before;
    for (let i = 0; i < 16; i += 1) {
      const thread = startWorker(\`
        stiltforge.InitAnalyseSlice(big(workerData % 2 === 0));
        const pixels = pattern();
        stiltforge.AnalyseSlice(rectangle(size, size, 0, 0, 0, 0), 0, () => {});
        const again = () => {
          stiltforge.AnalyseSlice(pixels, 0, again);
          stiltforge.GroupToBitmap(1, 1, () => {});
        };
        again();
        again();
        parentPort.postMessage('started');
      \`, i);
      await said(thread);
      await sleep((i * 37) % 120);
      await thread.terminate();
      if (process.platform === 'linux') {
        before ??= threads();
        // The system takes its time to end one; those that are left over stay.
        while (threads() > before) await sleep(10);
      }
    }
    // The main thread has loaded the module too, and finds it free and working.
    stiltforge.InitAnalyseSlice(parameters());
    console.log((await analyse(rectangle(8, 6, 0, 0, 2, 2))).layer.pixelCount);
    `,
    { timeoutSeconds: 240 },
  );
  assertEnded(child, { stdout: '4\n' });
});

test('a worker thread that is terminated does not work off its queue first', async () => {
  const child = await runInChild(`${worker}
    const thread = startWorker(\`
      // So slow that the end of a thread is short beside it, on a busy machine too.
      const slow = { supportStrength: 20, distCloseToIsland: 0, strengthTransmited: 0 };
      stiltforge.InitAnalyseSlice({ ...big(false), ...slow, validationDistanceFormVoronoi: 0, maxVoronoiIteration: 100 });
      const pixels = pattern();
      await analyse(pixels);
      const start = process.cpuUsage();
      await analyse(pixels);
      const oneSlice = process.cpuUsage(start);
      for (let i = 0; i < 200; i += 1) stiltforge.AnalyseSlice(pixels, i, () => {});
      parentPort.postMessage(oneSlice);
    \`);
    const oneSlice = await said(thread);
    const start = process.cpuUsage();
    await thread.terminate();
    const slices = process.cpuUsage(start).user / oneSlice.user;
    console.log(slices < 100 ? 'soon' : 'after ' + slices + ' slices');
  `);
  assertEnded(child, { stdout: 'soon\n' });
});

test('worker threads alone may load the module, one after the other', async () => {
  const child = await runInChild(
    `${worker}
    for (let i = 0; i < 8; i += 1) {
      const thread = startWorker(\`
        stiltforge.InitAnalyseSlice(parameters());
        parentPort.postMessage((await analyse(rectangle(8, 6, 0, 0, 2, 2))).layer.pixelCount);
      \`);
      const ended = once(thread, 'exit');
      console.log(await said(thread));
      if (i % 2) await thread.terminate();
      else await ended;
    }
    `,
    { loadModule: false },
  );
  assertEnded(child, { stdout: '4\n'.repeat(8) });
});

test('a worker thread that ends by itself during a job, or by an exception, frees the state', async () => {
  const child = await runInChild(
    `${worker}
    const endings = [
      'process.exit(0)',
      'setTimeout(() => process.exit(0), 20)',
      'setTimeout(() => { throw new Error("mine"); }, 20)',
      'stiltforge.AnalyseSlice(pixels, 0, () => process.exit(0))',
      'stiltforge.AnalyseSlice(pixels, 0, () => { throw new Error("mine"); })',
    ];
    for (let i = 0; i < 15; i += 1) {
      const thread = startWorker(\`
        stiltforge.InitAnalyseSlice(big(workerData % 2 === 0));
        const pixels = pattern();
        for (let k = 0; k < 4; k += 1) stiltforge.AnalyseSlice(pixels, k, () => {});
      \` + endings[i % endings.length], i);
      thread.on('error', () => {});
      await new Promise((resolve) => thread.on('exit', resolve));
      stiltforge.InitAnalyseSlice(parameters());
      if ((await analyse(rectangle(8, 6, 0, 0, 2, 2))).layer.pixelCount !== 4) throw new Error('wrong');
      stiltforge.CleanPointer();
    }
    console.log('all ended');
    `,
    { timeoutSeconds: 240 },
  );
  assertEnded(child, { stdout: 'all ended\n' });
});

const busyHost = (then) => `
  const size = 600;
  const settings = parameters({ width: size, height: size, ghostRadius: 30, needBuffer: true });
  stiltforge.InitAnalyseSlice(settings);
  const pixels = slice(size, size, (x, y) => (x % 90 < 60 && y % 90 < 70 ? { blue: 20 } : undefined));
  stiltforge.AnalyseSlice(rectangle(size, size, 0, 0, 0, 0), 0, () => {});
  const again = () => {
    stiltforge.AnalyseSlice(pixels, 0, again);
    stiltforge.GroupToBitmap(1, 1, () => {});
  };
  again();
  again();
  ${then}`;

const delays = [0, 1, 5, 20, 40, 70, 100, 150];

test('process.exit during a job ends the process with its code', async () => {
  for (const delay of delays) {
    const exit = delay === 0 ? 'process.exit(7);' : `setTimeout(() => process.exit(7), ${delay});`;
    assertEnded(await runInChild(busyHost(exit)), { code: 7 });
  }
});

test('process.exit inside a callback ends the process with its code', async () => {
  const source = busyHost('stiltforge.AnalyseSlice(pixels, 0, () => process.exit(7));');
  for (let i = 0; i < 4; i += 1) assertEnded(await runInChild(source), { code: 7 });
});

test('Ctrl-C during a job ends the process', async () => {
  for (const delay of delays) {
    const interrupt = `setTimeout(() => process.kill(process.pid, 'SIGINT'), ${delay});`;
    assertEnded(await runInChild(busyHost(interrupt)), { code: null, signal: 'SIGINT' });
    const handled = `process.on('SIGINT', () => process.exit(130)); ${interrupt}`;
    assertEnded(await runInChild(busyHost(handled)), { code: 130 });
  }
});

test('process.exit of the main thread while a worker thread analyses', async () => {
  for (const delay of delays) {
    const child = await runInChild(`${worker}
      const thread = startWorker(\`
        stiltforge.InitAnalyseSlice(big(true));
        const pixels = pattern();
        const again = () => stiltforge.AnalyseSlice(pixels, 0, again);
        again();
        again();
        parentPort.postMessage('started');
      \`);
      await said(thread);
      setTimeout(() => process.exit(7), ${delay});
    `);
    assertEnded(child, { code: 7 });
  }
});

test('a host that ends without any clean-up ends', async () => {
  assertEnded(
    await runInChild(`
      stiltforge.InitAnalyseSlice(parameters());
      for (let i = 0; i < 20; i += 1) stiltforge.AnalyseSlice(rectangle(8, 6, 0, 0, 4, 4), i, () => {});
    `),
  );
});
