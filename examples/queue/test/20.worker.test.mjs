// What a worker does with a job, well or badly meant, and with its own end.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { mkdir, readdir, readFile, symlink, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { binaryStl, box, footAndIsland, table } from '../../../packages/cli/test/meshes.mjs';
import { healthServer } from '../dist/http.js';
import {
  ended,
  queueOn,
  redis,
  site,
  startProgram,
  startWorker,
  temporaryFolder,
  until,
} from './harness.mjs';

const afterwards = [];
let shared;
before(async () => {
  shared = await redis({ after: (work) => afterwards.push(work) });
});
after(async () => {
  for (const work of afterwards.reverse()) await work();
});

let queues = 0;

/** A queue, a storage with a part in it, and a worker for them. */
async function setUp(t, variables = {}, { server = shared, workers = 1 } = {}) {
  const { queue, settings } = await queueOn(t, server, `queue-${++queues}`);
  const folder = await temporaryFolder(t);
  await mkdir(join(folder, 'inputs'));
  const store = (name, bytes) => writeFile(join(folder, 'inputs', name), bytes);
  await store('part.stl', binaryStl(footAndIsland()));
  // At 0.001 mm it has 60,000 layers, which take seconds on any machine.
  await store('slow.stl', binaryStl(box([0, 0, 0], [60, 60, 60])));
  const all = { ...settings, STORAGE_FOLDER: folder, ...variables };
  const started = await Promise.all(Array.from({ length: workers }, () => startWorker(t, all)));
  const add = (data, options) => queue.add('part', data, options);
  return { queue, folder, store, add, variables: all, worker: started[0], workers: started };
}

const part = { source: { object: 'inputs/part.stl' } };
const slow = { source: { object: 'inputs/slow.stl' }, print: { layerHeight: 0.001 } };

/** Processes that a process has started. */
function childrenOf(pid) {
  const text = readFileSync(`/proc/${pid}/task/${pid}/children`, 'utf8');
  return text.split(' ').filter(Boolean).map(Number);
}

const childOf = ({ child: { pid } }) => until(() => childrenOf(pid)[0], 'a part is under way');

test('the same part is made once, however often it is asked for', async (t) => {
  const { add, queue, folder } = await setUp(t, { CONCURRENCY: '2' }, { workers: 2 });
  const jobs = await Promise.all(Array.from({ length: 6 }, () => add(part)));
  const done = await Promise.all(jobs.map((job) => ended(queue, job)));
  const names = new Set(done.map(({ returnvalue }) => returnvalue.result));
  assert.equal(names.size, 1);
  assert.deepEqual(await readdir(join(folder, 'results')), [[...names][0].replace('results/', '')]);
  const again = await ended(queue, await add(part));
  assert.equal(again.returnvalue.reused, true);
  const other = await ended(queue, await add({ ...part, support: { supportArea: 8 } }));
  assert.equal(other.returnvalue.reused, false);
});

test('each format is a result of its own', async (t) => {
  const { add, queue, folder } = await setUp(t);
  for (const [format, beginning] of [
    ['json', '{'],
    ['csv', 'x_mm,y_mm,z_mm'],
    ['3mf', 'PK'],
  ]) {
    const { returnvalue, failedReason } = await ended(queue, await add({ ...part, format }));
    assert.ok(returnvalue, failedReason);
    assert.match(returnvalue.result, new RegExp(`^results/[0-9a-f]{64}\\.${format}$`));
    const text = await readFile(join(folder, returnvalue.result), 'latin1');
    assert.ok(text.startsWith(beginning), text.slice(0, 20));
  }
});

test('a part that can never be made is parked at once, with the reason', async (t) => {
  const inputs = await temporaryFolder(t);
  const elsewhere = await temporaryFolder(t);
  await writeFile(join(elsewhere, 'secret.stl'), binaryStl(table()));
  await symlink(join(elsewhere, 'secret.stl'), join(inputs, 'link.stl'));
  const host = await site(t, (request, response) => {
    response.writeHead(request.url === '/moved.stl' ? 302 : 404, { Location: 'http://10.0.0.1/' });
    response.end();
  });
  const { add, queue, store, worker } = await setUp(t, {
    INPUT_FOLDER: inputs,
    URL_HOSTS: host,
    INPUT_LIMIT: '0.01',
    MEMORY_LIMIT: '0.12',
  });
  await store('garbage.stl', 'garbage'.repeat(100));
  await store('cut.stl', binaryStl(table()).subarray(0, 500));
  await store('large.stl', Buffer.alloc(20_000));
  const object = (name) => ({ source: { object: `inputs/${name}` } });
  for (const [data, reason] of [
    [object('garbage.stl'), /^garbage\.stl: the content is not/],
    [object('cut.stl'), /^cut\.stl: .*cut off/],
    [object('large.stl'), /more than the 0\.01 MB/],
    [object('none.stl'), /no object "inputs\/none\.stl"/],
    [{ source: { object: '../../etc/passwd' } }, /no name of an object/],
    [{ source: { path: '/etc/passwd' } }, /outside of the workers' INPUT_FOLDER/],
    [{ source: { path: join(inputs, 'link.stl') } }, /outside of the workers' INPUT_FOLDER/],
    [{ source: { path: join(inputs, 'none.stl') } }, /there is no such file/],
    [{ source: { path: inputs } }, /it is no file/],
    [{ source: { url: 'http://localhost:1/part.stl' } }, /not one of the workers' URL_HOSTS/],
    [{ source: { url: `http://${host}/none.stl` } }, /answered 404/],
    [{ source: { url: `http://${host}/moved.stl` } }, /answered 302/],
    [{ ...part, print: { layerHeight: 0 } }, /layer-height 0: /],
    [{ ...part, print: { pixelSize: 0.002, screenWidth: 1e5, screenHeight: 1e5 } }, /of memory/],
    [{ ...part, format: 'gcode' }, /The job can't be read: format: /],
    [{ ...part, print: { dpi: 300 } }, /The job can't be read: print: .*"dpi"/],
    [{ ...part, name: '../part.stl' }, /The job can't be read: name: /],
    [{}, /The job can't be read: source: one of \{ path \}/],
    ['nonsense', /The job can't be read/],
  ]) {
    const job = await ended(queue, await add(data));
    assert.match(job.failedReason ?? 'it was made', reason);
    assert.equal(job.attemptsMade, 1, job.failedReason);
  }
  const good = await ended(queue, await add(part));
  assert.ok(good.returnvalue, good.failedReason);
  assert.match((await worker.ask('/metrics')).text, /stiltforge_jobs_total\{end="parked"\} 19/);
});

test('an input may be a path, a URL or an object', async (t) => {
  const inputs = await temporaryFolder(t);
  await writeFile(join(inputs, 'part.stl'), binaryStl(footAndIsland()));
  const host = await site(t, (_, response) => response.end(binaryStl(footAndIsland())));
  const { add, queue } = await setUp(t, { INPUT_FOLDER: inputs, URL_HOSTS: `files ${host}` });
  const results = new Set();
  for (const source of [
    { path: join(inputs, 'part.stl') },
    { url: `http://${host}/folder/part.stl?version=2` },
    part.source,
  ]) {
    const { returnvalue, failedReason } = await ended(queue, await add({ source }));
    assert.ok(returnvalue, failedReason);
    results.add(returnvalue.result);
  }
  assert.equal(results.size, 1, 'the same bytes of the same name are the same part');
});

test('a part whose process crashes is made again', async (t) => {
  const { add, queue, worker } = await setUp(t);
  const job = await add({ ...slow, print: { layerHeight: 0.01 } }, { backoff: 10 });
  process.kill(await childOf(worker), 'SIGSEGV');
  await worker.happened('to be tried again');
  const { returnvalue, attemptsMade } = await ended(queue, job);
  assert.equal(attemptsMade, 2);
  assert.equal(returnvalue.reused, false);
  assert.match(worker.events().find(({ reason }) => reason).reason, /ended by SIGSEGV/);
});

test('a part that takes too long is killed, tried again, and parked with the reason', async (t) => {
  const { add, queue, worker } = await setUp(t, { TIME_LIMIT: '0.8' });
  const job = await ended(queue, await add(slow, { attempts: 2, backoff: 10 }));
  assert.equal(job.failedReason, 'It took more than the 0.8 s that a part may have.');
  assert.equal(job.attemptsMade, 2);
  assert.deepEqual(childrenOf(worker.child.pid), []);
  assert.equal((await worker.ask('/readyz')).status, 200);
});

test('a part that takes too much memory is killed alone, and parked', async (t) => {
  // Less than the process takes before it can tell that the part is too large.
  const { add, queue, worker } = await setUp(t, { MEMORY_LIMIT: '0.03' });
  const job = await ended(queue, await add(part));
  assert.equal(job.failedReason, 'It took more than the 0.03 GB that a part may have.');
  assert.equal(job.attemptsMade, 1);
  assert.equal((await worker.ask('/healthz')).status, 200);
});

test('what is parked is listed, and put back when it is asked for', async (t) => {
  const { add, queue, store, variables } = await setUp(t);
  const job = await add({ source: { object: 'inputs/late.stl' } });
  await ended(queue, job);
  const list = (words) => startProgram(t, 'parked', words, variables).done;
  assert.match((await list([])).out, /^\d+ inputs\/late\.stl: There is no object/);
  await store('late.stl', binaryStl(table()));
  assert.equal((await list(['--retry'])).code, 0);
  await until(async () => (await queue.getCompletedCount()) === 1, 'it is made');
  assert.equal((await list([])).out, '');
});

test('parts are submitted from the command line', async (t) => {
  const inputs = await temporaryFolder(t);
  await writeFile(join(inputs, 'table.stl'), binaryStl(table()));
  const { variables, folder } = await setUp(t, { INPUT_FOLDER: inputs });
  const submit = (words) => startProgram(t, 'submit', words, variables).done;
  const words = [join(inputs, 'table.stl'), 'object:inputs/part.stl', '--layer-height', '0.1'];
  const { code, out, err } = await submit([...words, '--wait']);
  assert.equal(code, 0, out + err);
  const results = [...out.matchAll(/-> (\S+)$/gm)].map(([, name]) => name);
  assert.equal(results.length, 2);
  const { print } = JSON.parse(await readFile(join(folder, results[0]), 'utf8'));
  assert.equal(print.layerHeight, 0.1);
  const wrong = await submit([join(inputs, 'none.stl'), '--wait']);
  assert.equal(wrong.code, 1);
  assert.match(wrong.out, /there is no such file/);
  assert.match((await submit([])).err, /^submit: usage: /);
  const help = await submit(['--help']);
  assert.equal(help.code, 0);
  assert.match(help.out, /^usage: /);
  assert.match((await submit(['a.stl', '--format', 'gcode'])).err, /format: /);
});

test('SIGTERM lets the part at work be done, takes no other, and ends', async (t) => {
  const { add, queue, worker } = await setUp(t);
  const job = await add({ ...slow, print: { layerHeight: 0.005 } });
  await childOf(worker);
  const next = await add(part);
  worker.child.kill('SIGTERM');
  await worker.happened('draining');
  const { status, text } = await worker.ask('/readyz');
  assert.equal(status, 503);
  assert.match(text, /ends when the jobs at work are done/);
  assert.equal((await worker.ask('/healthz')).status, 200);
  assert.deepEqual((({ code, err }) => ({ code, err }))(await worker.done), { code: 0, err: '' });
  assert.equal(await job.getState(), 'completed');
  assert.equal(await next.getState(), 'waiting');
  assert.equal(await queue.getActiveCount(), 0);
});

test('a part that is not done in time goes back to the queue, for another worker', async (t) => {
  const { add, worker, variables } = await setUp(t, { DRAIN: '0.3' });
  const job = await add(slow);
  const child = await childOf(worker);
  worker.child.kill('SIGTERM');
  assert.equal((await worker.done).code, 0);
  assert.throws(() => process.kill(child, 0), { code: 'ESRCH' });
  assert.equal(await job.getState(), 'waiting');
  const other = await startWorker(t, variables);
  await childOf(other);
});

test('the process of a part does not outlive its worker', async (t) => {
  const { add, worker } = await setUp(t);
  await add(slow);
  const child = await childOf(worker);
  worker.child.kill('SIGKILL');
  await until(() => {
    try {
      process.kill(child, 0);
      return false;
    } catch {
      return true;
    }
  }, 'the process of the part ends');
});

test('what a killed worker left in the way of files goes with the next start', async (t) => {
  const work = await temporaryFolder(t);
  const { add, worker, variables } = await setUp(t, { WORK_FOLDER: work });
  await add(slow, { attempts: 1 });
  await childOf(worker);
  worker.child.kill('SIGKILL');
  await worker.done;
  const [left] = await readdir(work);
  assert.match(left, /^stiltforge-job\./);
  await startWorker(t, { ...variables, QUEUE: 'another' });
  assert.deepEqual(await readdir(work), []);
});

test('progress is told while a part is made', async (t) => {
  const { add, queue } = await setUp(t);
  const { id } = await add(slow);
  const { progress } = await until(async () => {
    const job = await queue.getJob(id);
    return job.progress.layers > 0 && job;
  }, 'progress');
  assert.equal(progress.of, 60_000);
});

test('without Redis a worker says so, still answers, and goes on when it is back', async (t) => {
  const server = await redis(t);
  const { add, queue, worker } = await setUp(t, {}, { server });
  await until(async () => (await worker.ask('/readyz')).text === 'ready\n', 'it is ready');
  await server.kill();
  await until(async () => (await worker.ask('/readyz')).status === 503, 'it is not ready');
  assert.equal((await worker.ask('/healthz')).status, 200);
  const { status, text } = await worker.ask('/metrics');
  assert.equal(status, 200);
  assert.match(text, /stiltforge_jobs_active 0/);
  assert.equal((await worker.ask('/nothing')).status, 404);
  await server.start();
  const { returnvalue, failedReason } = await ended(queue, await add(part));
  assert.ok(returnvalue, failedReason);
  assert.equal((await worker.ask('/readyz')).status, 200);
  assert.match((await worker.ask('/metrics')).text, /stiltforge_queue_jobs\{state="completed"\} 1/);
});

test('another storage is plugged in by a module', async (t) => {
  const objects = new Map([['/parts/inputs/part.stl', binaryStl(footAndIsland())]]);
  let refusals = 1;
  const host = await site(t, (request, response) => {
    const { method, url } = request;
    const pieces = [];
    request.on('data', (piece) => pieces.push(piece));
    request.on('end', () => {
      if (method === 'PUT' && refusals-- > 0) return response.writeHead(503).end();
      if (method === 'PUT') objects.set(url, Buffer.concat(pieces));
      const object = objects.get(url);
      response.writeHead(object ? 200 : 404).end(method === 'GET' ? object : undefined);
    });
  });
  const { add, queue } = await setUp(t, {
    STORAGE_MODULE: fileURLToPath(new URL('../dist/http_storage.js', import.meta.url)),
    STORAGE_URL: `http://${host}/parts`,
  });
  const { returnvalue, failedReason, attemptsMade } = await ended(
    queue,
    await add(part, { backoff: 10 }),
  );
  assert.ok(returnvalue, failedReason);
  assert.equal(attemptsMade, 2, 'a storage that is busy is tried again');
  const stored = objects.get(`/parts/${returnvalue.result}`);
  assert.equal(JSON.parse(stored).model.file, 'part.stl');
  assert.equal((await ended(queue, await add(part))).returnvalue.reused, true);
  const none = await ended(queue, await add({ source: { object: 'inputs/none.stl' } }));
  assert.match(none.failedReason, /There is no object/);
});

test('a port or a storage that cannot be had is told, and no job is taken', async (t) => {
  const host = await site(t, () => {});
  const { variables, add } = await setUp(t, {}, { workers: 0 });
  const job = await add(part);
  const start = (more) => startProgram(t, 'worker', [], { ...variables, ...more }).done;
  const taken = await start({ PORT: host.split(':')[1] });
  assert.equal(taken.code, 1);
  assert.match(taken.err, /^worker: .*address already in use 127\.0\.0\.1:\d+\n$/);
  const wrong = await start({
    STORAGE_MODULE: fileURLToPath(import.meta.resolve('stiltforge-cli')),
  });
  assert.equal(wrong.code, 1);
  assert.match(wrong.err, /it has to export createStorage/);
  const none = await start({ STORAGE_FOLDER: '/dev/null/none' });
  assert.equal(none.code, 1);
  assert.match(none.err, /^worker: .*\/dev\/null\/none/);
  assert.equal(await job.getState(), 'waiting');
});

test('an environment with mistakes is refused, all named at once', async (t) => {
  const variables = { TIME_LIMIT: 'soon', PORT: '-1', REDIS_URL: 'localhost' };
  const { code, err } = await startProgram(t, 'worker', [], variables).done;
  assert.equal(code, 1);
  assert.match(
    err,
    /^worker: The environment can't be used: REDIS_URL: .*; TIME_LIMIT: .*; PORT: /,
  );
});

test('metrics that cannot be had are told, and end nothing', async (t) => {
  const metrics = {
    contentType: 'text/plain',
    text: () => Promise.reject(new Error('no numbers')),
  };
  const server = healthServer({ notReady: () => undefined }, metrics).listen(0, '127.0.0.1');
  t.after(() => server.close().closeAllConnections());
  await once(server, 'listening');
  const answerTo = async (path) => {
    const response = await fetch(`http://127.0.0.1:${server.address().port}${path}`);
    return [response.status, await response.text()];
  };
  assert.deepEqual(await answerTo('/metrics'), [500, 'no numbers\n']);
  assert.deepEqual(await answerTo('/healthz'), [200, 'alive\n']);
});
