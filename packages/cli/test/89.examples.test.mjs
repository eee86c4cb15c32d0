// The examples for Node: a minimal host, and a service.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { readFile, writeFile } from 'node:fs/promises';
import { connect } from 'node:net';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { createService } from '../../../examples/http-service/service.mjs';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';

const host = fileURLToPath(new URL('../../../examples/minimal-host/host.mjs', import.meta.url));

/** What the command writes of a part. */
async function commandSays(t, triangles, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const { code } = await stiltforge(['part.stl', '--no-pictures', '-q', ...words], { cwd: folder });
  assert.equal(code, 0);
  return readFile(join(folder, 'part-supports', 'supports.json'), 'utf8');
}

test('the minimal host prints the points that the command writes', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table()));
  const { status, stdout, stderr } = spawnSync(process.execPath, [host, 'part.stl'], {
    cwd: folder,
    encoding: 'utf8',
  });
  assert.equal(status, 0, stderr);
  const { supports } = JSON.parse(await commandSays(t, table()));
  const lines = supports.map(({ x, y, z, kind }) => `${x} ${y} ${z} ${kind}\n`);
  assert.equal(stdout, lines.join(''));
});

/** A service on a port of its own, which goes with the test; gives a function that asks it. */
async function serviceWith(t, limits) {
  const server = createService(limits).listen(0, '127.0.0.1');
  await once(server, 'listening');
  t.after(() => {
    server.closeAllConnections();
    server.close();
  });
  const { port } = server.address();
  const ask = async (body, { query = '', ...options } = {}) => {
    const url = `http://127.0.0.1:${port}/supports?${query}`;
    const response = await fetch(url, { method: 'POST', body, ...options });
    return { status: response.status, headers: response.headers, text: await response.text() };
  };
  return { ask, port };
}

/** A part that takes seconds on any machine: at 0.001 mm it has 60,000 layers. */
const slow = [binaryStl(box([0, 0, 0], [60, 60, 60])), { query: 'layerHeight=0.001' }];

test('the service answers with what the command writes', async (t) => {
  const { ask } = await serviceWith(t);
  const { status, headers, text } = await ask(binaryStl(footAndIsland()), {
    query: 'name=part.stl&layerHeight=0.1&supportArea=8',
  });
  assert.equal(status, 200, text);
  assert.equal(headers.get('content-type'), 'application/json');
  const words = ['--layer-height', '0.1', '--support-area', '8'];
  assert.equal(text, await commandSays(t, footAndIsland(), words));
});

test('the service says what is wrong with a request, and goes on', async (t) => {
  const { ask, port } = await serviceWith(t, { size: 10_000 });
  const part = binaryStl(table());
  for (const [body, options, status, message] of [
    [part.subarray(0, 500), { query: 'name=cut.stl' }, 422, /^cut\.stl: .*cut off/],
    [Buffer.from('garbage'.repeat(100)), {}, 422, /^mesh: /],
    ['', {}, 422, /^mesh: /],
    [binaryStl(box([0, 0, 0], [400, 10, 10])), {}, 422, /mesh: .*mm/],
    [part, { query: 'layerHeight=thin' }, 400, /layerHeight is "thin", not a plain number/],
    [part, { query: 'layerHeight=0' }, 400, /layer-height 0: /],
    [part, { query: 'dpi=300' }, 400, /There is no setting "dpi"/],
    [Buffer.alloc(20_000), {}, 413, /more than 10000 bytes/],
    [
      new Blob([Buffer.alloc(5_000_000)]).stream(),
      { duplex: 'half' },
      413,
      /more than 10000 bytes/,
    ],
    [undefined, { method: 'GET' }, 405, /POST/],
  ]) {
    const answer = await ask(body, options);
    assert.equal(answer.status, status, answer.text);
    assert.match(JSON.parse(answer.text).error, message);
  }
  const socket = connect(port, '127.0.0.1').end('\x00\x01 no HTTP at all\r\n\r\n');
  socket.on('error', () => {}).resume();
  await once(socket, 'close');
  assert.equal((await ask(part)).status, 200);
});

test('the service sends requests away when too many wait', async (t) => {
  const { ask } = await serviceWith(t, { concurrency: 1, waiting: 1 });
  const client = new AbortController();
  const busy = [1, 2].map(() =>
    ask(slow[0], { ...slow[1], signal: client.signal }).catch((error) => error.name),
  );
  let answer;
  do {
    answer = await ask(binaryStl(table()), { signal: AbortSignal.timeout(200) }).catch(() => {});
  } while (answer === undefined);
  assert.equal(answer.status, 503, answer.text);
  assert.equal(answer.headers.get('retry-after'), '5');
  client.abort();
  assert.deepEqual(await Promise.all(busy), ['AbortError', 'AbortError']);
});

test('a client that goes away makes room for the next one', async (t) => {
  const { ask } = await serviceWith(t, { concurrency: 1, waiting: 1 });
  await assert.rejects(ask(slow[0], { ...slow[1], signal: AbortSignal.timeout(500) }));
  const { status, text } = await ask(binaryStl(table()));
  assert.equal(status, 200, text);
});

test('the service gives up a part that takes too long', async (t) => {
  const { ask } = await serviceWith(t, { time: 0.5 });
  const { status, text } = await ask(...slow);
  assert.equal(status, 504);
  assert.match(JSON.parse(text).error, /more than the 0\.5 s/);
});

test('the service refuses a part that takes too much memory', async (t) => {
  const { ask } = await serviceWith(t, { memory: 50e6 });
  const { status, text } = await ask(binaryStl(table()));
  assert.equal(status, 413);
  assert.match(JSON.parse(text).error, /memory/);
});
