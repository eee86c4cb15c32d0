// The examples for Node: a minimal host, and a service.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { readdir, readFile, writeFile } from 'node:fs/promises';
import { request } from 'node:http';
import { connect } from 'node:net';
import { join } from 'node:path';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { setTimeout } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { createService } from '../../../examples/http-service/service.mjs';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';
import { goo, nanoDlp, sl1, tablePngs, zip } from './prints.mjs';

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

test('the service can be imported where no script runs', () => {
  const service = new URL('../../../examples/http-service/service.mjs', import.meta.url);
  const script = `const { createService } = await import('${service}'); createService().close();`;
  const words = ['--input-type=module', '--eval', script];
  const { status, stderr } = spawnSync(process.execPath, words, { encoding: 'utf8' });
  assert.equal(status, 0, stderr);
});

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

for (const [name, content, query = ''] of [
  ['plate.sl1', sl1()],
  ['plate.nanodlp', nanoDlp()],
  ['plate.goo', goo()],
  [
    'layers.zip',
    zip(tablePngs.map((png, i) => [`${i}.png`, png])),
    'layerHeight=0.1&pixelSize=0.1',
  ],
]) {
  test(`the service answers for ${name} as the command does`, async (t) => {
    const folder = await temporaryFolder(t);
    await writeFile(join(folder, name), content);
    const words = query === '' ? [] : ['--layer-height', '0.1', '--pixel-size', '0.1'];
    const options = ['--no-pictures', '--quiet', '--out', 'out'];
    assert.equal((await stiltforge([name, ...options, ...words], { cwd: folder })).code, 0);
    const { ask } = await serviceWith(t);
    const { status, text } = await ask(content, { query: `name=${name}&${query}` });
    assert.equal(status, 200, text);
    assert.equal(text, await readFile(join(folder, 'out', 'supports.json'), 'utf8'));
  });
}

test('the service says what is wrong with a printer file, and not where it lies', async (t) => {
  const { ask } = await serviceWith(t);
  const broken = Buffer.from(tablePngs[7]).fill(0, 60, 80);
  for (const [content, query, status, message] of [
    [sl1().subarray(0, 2000), 'name=cut.sl1', 422, /^cut\.sl1: /],
    [sl1(tablePngs.with(7, broken)), 'name=plate.sl1', 422, /^plate\.sl1: layer 7 .*checksum/],
    [zip([['0.png', tablePngs[0]]]), 'name=layers.zip', 400, /^layers\.zip: .*--layer-height/],
    [zip([['readme.txt', Buffer.from('none')]]), 'name=none.zip', 422, /^none\.zip: /],
    [zip([['../../0.png', tablePngs[0]]]), 'name=climb.zip&layerHeight=0.1', 422, /^climb\.zip: /],
    [goo().subarray(0, -900), 'name=plate.goo', 422, /^plate\.goo: /],
    [sl1(), 'name=..', 400, /no name of a file/],
    [sl1(), `name=${encodeURIComponent('../../etc/passwd')}`, 200, /./],
  ]) {
    const answer = await ask(content, { query });
    assert.equal(answer.status, status, answer.text);
    if (status !== 200) assert.match(JSON.parse(answer.text).error, message);
    assert.doesNotMatch(answer.text, /stiltforge-service-/);
  }
});

test('the service leaves nothing of what it was sent', async (t) => {
  const folder = await temporaryFolder(t);
  const before = process.env.TMPDIR;
  process.env.TMPDIR = folder;
  t.after(() => {
    if (before === undefined) delete process.env.TMPDIR;
    else process.env.TMPDIR = before;
  });
  const { ask } = await serviceWith(t, { size: 100_000 });
  await ask(sl1(), { query: 'name=plate.sl1' });
  await ask(Buffer.from('garbage'));
  await ask(new Blob([Buffer.alloc(5_000_000)]).stream(), { duplex: 'half' });
  await ask(slow[0], { ...slow[1], signal: AbortSignal.timeout(300) }).catch(() => {});
  for (let tries = 0; (await readdir(folder)).length > 0 && tries < 100; tries++)
    await setTimeout(50);
  assert.deepEqual(await readdir(folder), []);
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

for (const path of ['/', '/other', '//', '*']) {
  test(`the service says of the address ${path} that there is nothing`, async (t) => {
    const { port } = await serviceWith(t);
    const asked = request({ port, path, method: 'POST' }).end();
    const [answer] = await once(asked, 'response');
    assert.match(JSON.parse(await text(answer)).error, /There is only POST \/supports/);
    assert.equal(answer.statusCode, 404);
  });
}

test('the service sends requests away when too many wait', async (t) => {
  const { ask } = await serviceWith(t, { concurrency: 1, waiting: 1 });
  const client = new AbortController();
  const { signal } = client;
  // Which of them come first is open; that one of three finds no room is not.
  const all = [1, 2, 3].map(() =>
    ask(slow[0], { ...slow[1], signal }).catch((error) => error.name),
  );
  const answer = await Promise.race(all);
  assert.equal(answer.status, 503, answer.text);
  assert.equal(answer.headers.get('retry-after'), '5');
  client.abort();
  const others = (await Promise.all(all)).filter((each) => each !== answer);
  assert.deepEqual(others, ['AbortError', 'AbortError']);
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
