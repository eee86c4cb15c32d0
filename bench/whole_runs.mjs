import { spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const millisecondsBetweenLooks = 5;

export function median(values) {
  return values.toSorted((a, b) => a - b)[values.length >> 1];
}

/** Peak of a process so far, bytes; 0 when it has ended. */
function peakMemory(pid) {
  try {
    const [, kibibytes] = /^VmHWM:\s+(\d+) kB/m.exec(readFileSync(`/proc/${pid}/status`, 'utf8'));
    return 1024 * Number(kibibytes);
  } catch {
    return 0;
  }
}

/** Runs the command of the build in `folder` on a mesh, from its start to its end. */
export function wholeRun(folder, { mesh, options }) {
  const out = mkdtempSync(join(tmpdir(), 'stiltforge-bench-'));
  const words = [
    join(folder, 'packages/cli/dist/main.js'),
    ...[mesh, ...options, '--no-pictures', '--quiet', '--out', join(out, 'out')],
  ];
  return new Promise((done, fail) => {
    const start = performance.now();
    const child = spawn(process.execPath, words, { stdio: ['ignore', 'ignore', 'pipe'] });
    let peak = 0;
    let messages = '';
    const looks = setInterval(() => {
      peak = Math.max(peak, peakMemory(child.pid));
    }, millisecondsBetweenLooks);
    child.stderr.on('data', (text) => {
      messages += text;
    });
    child.on('error', fail);
    child.on('close', (code) => {
      const seconds = (performance.now() - start) / 1000;
      clearInterval(looks);
      rmSync(out, { recursive: true });
      if (code === 0) done({ seconds, peak });
      else fail(new Error(`${words.join(' ')} ended with ${code}: ${messages}`));
    });
  });
}

/**
 * Runs each of the given functions `rounds` times in alternation, so that a busy moment hits all of
 * them. Gives the list of results of each.
 */
async function alternated(functions, rounds) {
  const results = functions.map(() => []);
  for (let round = 0; round < rounds; round++) {
    for (const [i, work] of functions.entries()) results[i].push(await work());
  }
  return results;
}

const secondsOf = (runs) => runs.map(({ seconds }) => seconds);

/** Medians of two builds' seconds for the same job, and of the quotients of each pair of runs. */
async function comparedRuns(ours, rival, job, rounds) {
  const works = [ours, ...(rival ? [rival] : [])].map((folder) => () => wholeRun(folder, job));
  const [mine, theirs] = (await alternated(works, rounds)).map(secondsOf);
  return {
    seconds: median(mine),
    rivalSeconds: theirs && median(theirs),
    quotient: theirs && median(theirs.map((seconds, i) => seconds / mine[i])),
  };
}

/** Makes of a part of that height, mm, a job of one layer: all that a process does but its layers. */
const oneLayer = (height) => ['--layer-height', String(height)];

/** Seconds that a job takes beyond those of a single layer from the same file. */
async function beyondStartUp(folder, jobs, start, rounds) {
  const works = [start, ...jobs].map((job) => () => wholeRun(folder, job));
  const [starts, ...runs] = (await alternated(works, rounds)).map(secondsOf);
  return runs.map((seconds) => median(seconds.map((value, i) => value - starts[i])));
}

/** Layers a second beyond the start, and the peak memory, of a plate of the given layers. */
async function plateRuns(folder, { mesh, layers, options }) {
  const start = await wholeRun(folder, { mesh, options: [...options, ...oneLayer(0.05 * layers)] });
  const { seconds, peak } = await wholeRun(folder, { mesh, options });
  return { layersPerSecond: (layers - 1) / (seconds - start.seconds), layers, peak };
}

const wideScreen = ['--screen', '11520x6480'];

/**
 * Whole processes of the command, ours and, when there is a rival's folder, the rival's: the bunny
 * at 35 and 19 micrometres, what its pixels cost, and a plate of 13,000 x 13,000 pixels.
 */
export async function measureWholeRuns({ ours, rival, bunny, plates, rounds }) {
  const at = (pixelSize, ...more) => ({
    mesh: bunny,
    options: ['--pixel-size', pixelSize, ...wideScreen, ...more],
  });
  const finest = { options: ['--pixel-size', '0.005', '--screen', '13500x13500'] };
  const runs = {
    at35: await comparedRuns(ours, rival, at('0.035'), rounds),
    at19: await comparedRuns(ours, rival, at('0.019'), rounds),
  };
  const [beyondAt19, beyondAt50] = await beyondStartUp(
    ours,
    [at('0.019'), at('0.05')],
    at('0.05', ...oneLayer(100)),
    rounds,
  );
  return {
    ...runs,
    beyondStartUp: { at19: beyondAt19, at50: beyondAt50 },
    plate: await plateRuns(ours, { ...finest, ...plates.many }),
    rivalPlate: rival && (await plateRuns(rival, { ...finest, ...plates.few })),
  };
}
