import assert from 'node:assert/strict';
import { test } from 'node:test';
import { runInChild } from './harness.mjs';

/**
 * Resident memory in MiB after each of several models of 300 slices of 1920 x 1080. `most`: MiB that it may
 * grow by after the second.
 */
async function residentAfterModels({ needBuffer, cleanUp, most }) {
  const child = await runInChild(
    `
    const [width, height] = [1920, 1080];
    // A body that widens and narrows, with islands that come and go: regions, supports and ghosts.
    const stack = Array.from({ length: 12 }, (_, i) =>
      slice(width, height, (x, y) => {
        const inBody = Math.abs(x - 700) < 300 + 20 * Math.abs(6 - i) && Math.abs(y - 500) < 350;
        const inIsland = x > 1200 && (x + 7 * i) % 100 < 50 && y % 120 < 60 && i % 4 !== 0;
        return inBody || inIsland ? { blue: (x >> 3) % 256, green: (y >> 2) % 256 } : undefined;
      }),
    );
    let first = Infinity;
    for (let model = 0; model < 4; model += 1) {
      stiltforge.InitAnalyseSlice(
        parameters({ width, height, numLayer: 300, needBuffer: ${needBuffer}, supportStrength: 4000, ghostRadius: 40 }),
      );
      let supports = 0;
      for (let i = 0; i < 300; i += 1) {
        const { layer } = await analyse(stack[i % stack.length], i);
        for (const group of layer.groups) supports += group.supports.length;
      }
      if (supports === 0) throw new Error('nothing was placed');
      if (${cleanUp}) stiltforge.CleanPointer();
      // Buffers of the last slices are released by the collector, some time after it ran.
      let resident;
      for (let i = 0; i < 3 || (i < 200 && resident - first >= ${most}); i += 1) {
        gc();
        await new Promise((resolve) => setTimeout(resolve, 50));
        resident = Math.round(process.memoryUsage().rss / 2 ** 20);
      }
      if (model === 1) first = resident;
      console.log(resident);
    }
    `,
    { flags: ['--expose-gc'], timeoutSeconds: 300 },
  );
  assert.deepEqual([child.code, child.stderr], [0, '']);
  return child.stdout.trim().split('\n').map(Number);
}

for (const [needBuffer, cleanUp] of [
  [false, true],
  [true, false],
]) {
  const ending = cleanUp ? 'CleanPointer after each' : 'no clean-up at all';
  test(`memory does not grow from model to model: ${ending}, needBuffer ${needBuffer}`, async (t) => {
    // The first model brings the process to its working size.
    // With buffers, those of a few results (18 MiB each) may still wait for the collector.
    const most = needBuffer ? 96 : 32;
    const [, first, ...later] = await residentAfterModels({ needBuffer, cleanUp, most });
    t.diagnostic(`resident after each model: ${[first, ...later].join(', ')} MiB`);
    assert.ok(Math.min(...later) - first < most, `${first}, ${later} MiB`);
  });
}

test('CleanPointer returns the memory that a failed first slice left behind', async (t) => {
  const child = await runInChild(`
    const side = 4000;
    const dots = slice(side, side, (x, y) => ((x + y) % 2 === 0 ? {} : undefined));
    const resident = () => Math.round(process.memoryUsage().rss / 2 ** 20);
    stiltforge.InitAnalyseSlice(parameters());
    try {
      stiltforge.InitAnalyseSlice(parameters({ width: side, height: side, numLayer: 'x' }));
    } catch {}
    const before = resident();
    const failure = await analyse(dots).catch((error) => error.message);
    const failed = resident();
    stiltforge.CleanPointer();
    console.log(JSON.stringify({ failure, before, failed, cleaned: resident() }));
  `);
  assert.deepEqual([child.code, child.stderr], [0, '']);
  const { failure, before, failed, cleaned } = JSON.parse(child.stdout);
  assert.match(failure, /_M_range_check/);
  t.diagnostic(
    `resident: ${before} MiB, ${failed} after the failure, ${cleaned} after CleanPointer`,
  );
  assert.ok(cleaned - before < 32, `${before}, ${failed}, ${cleaned} MiB`);
});
