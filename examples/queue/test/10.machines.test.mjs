// What the queue promises when machines fail: every result is there once, nothing is lost.
import assert from 'node:assert/strict';
import { mkdir, readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import {
  defaultPrint,
  defaultSupport,
  loadMesh,
  placeSupports,
  supportsJson,
} from 'stiltforge-cli';
import { binaryStl, box } from '../../../packages/cli/test/meshes.mjs';
import { queueOn, redis, startWorker, temporaryFolder, until } from './harness.mjs';

const parts = 100;

/** A foot and, beside it, a block in the air: each part has another place and height of it. */
function part(index) {
  const height = 1 + 0.1 * (index % 10);
  const side = 3 + 0.2 * Math.floor(index / 10);
  return [...box([0, 0, 0], [4, 4, 3]), ...box([6, 0, height], [6 + side, side, height + 1])];
}

/** Its layers are so thin that a worker can be killed in the middle of it. */
const long = 30;
const printOf = (index) => (index === long ? { layerHeight: 0.0005 } : {});

const nameOf = (index) => `part_${index}.stl`;

/** The same parts one after the other, in this process: what each result has to be, and the seconds. */
async function inOneProcess() {
  const started = performance.now();
  const texts = new Map();
  for (let index = 0; index < parts; index++) {
    const name = nameOf(index);
    const { positions: mesh, warnings: meshWarnings } = await loadMesh(
      binaryStl(part(index)),
      undefined,
      name,
    );
    const settings = {
      print: { ...defaultPrint, ...printOf(index) },
      support: defaultSupport,
    };
    const { document } = await placeSupports({ name, mesh, meshWarnings, ...settings });
    texts.set(name, supportsJson(document));
  }
  return { texts, seconds: (performance.now() - started) / 1000 };
}

test('a killed worker and a killed Redis lose nothing: each result is there once', async (t) => {
  const { texts, seconds: alone } = await inOneProcess();
  const server = await redis(t);
  const { queue, settings } = await queueOn(t, server, 'machines');
  const folder = await temporaryFolder(t);
  await mkdir(join(folder, 'inputs'));
  for (let index = 0; index < parts; index++) {
    await writeFile(join(folder, 'inputs', nameOf(index)), binaryStl(part(index)));
  }
  // On a busy machine a worker may be too late for so short a lock, again and again.
  const variables = { ...settings, STORAGE_FOLDER: folder, LOCK: '2', STALLS: '1000' };
  const workers = await Promise.all([1, 2, 3].map(() => startWorker(t, variables)));

  const started = performance.now();
  const jobs = await queue.addBulk(
    [...texts.keys()].map((name, index) => ({
      name: 'part',
      data: { source: { object: `inputs/${name}` }, print: printOf(index) },
    })),
  );
  const atLeast = (count) => until(async () => (await queue.getCompletedCount()) >= count, count);
  const { id } = jobs[long];
  const killed = await until(
    () => workers.find((worker) => worker.events().some(({ job }) => job === id)),
    'the long part is under way',
  );
  killed.child.kill('SIGKILL');
  await atLeast(50);
  await server.kill();
  const left = workers.filter((worker) => worker !== killed);
  const isMissed = async (worker) => (await worker.ask('/readyz')).status === 503;
  const areMissed = async () => (await Promise.all(left.map(isMissed))).every(Boolean);
  await until(areMissed, 'the workers miss Redis');
  await server.start();
  await atLeast(parts);
  const seconds = (performance.now() - started) / 1000;

  const counts = await queue.getJobCounts('waiting', 'active', 'delayed', 'completed', 'failed');
  assert.deepEqual(counts, { waiting: 0, active: 0, delayed: 0, completed: parts, failed: 0 });
  const names = new Set();
  for (const { id, data } of jobs) {
    const { returnvalue } = await queue.getJob(id);
    names.add(returnvalue.result);
    const text = await readFile(join(folder, returnvalue.result), 'utf8');
    assert.equal(text, texts.get(data.source.object.slice('inputs/'.length)));
  }
  assert.equal(names.size, parts);
  const stored = await readdir(join(folder, 'results'));
  assert.deepEqual(stored.map((name) => `results/${name}`).sort(), [...names].sort());

  const events = workers.flatMap((worker) => worker.events());
  const starts = events.filter(({ job, event }) => job === id && event === 'started');
  assert.ok(starts.length > 1, 'the part of the killed worker was made by another');
  const count = (event) => events.filter((e) => e.event === event).length;
  t.diagnostic(
    `${parts} parts through three workers, one killed, Redis restarted: ${seconds.toFixed(1)} s ` +
      `(${count('started')} starts); in one process, without a queue: ${alone.toFixed(1)} s`,
  );
});
