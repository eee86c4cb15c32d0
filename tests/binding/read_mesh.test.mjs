// readMesh of binding.node as a host program sees it. Run by ctest, which names the folder of binaries.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { runInNewContext } from 'node:vm';
import { Worker } from 'node:worker_threads';
import { binding, boxOptions } from './harness.mjs';

const { readMesh, Slicer } = binding;

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-binding-'));
after(() => rmSync(folder, { recursive: true }));

function binaryStl({ positions }) {
  const triangles = positions.length / 9;
  const bytes = Buffer.alloc(84 + 50 * triangles);
  bytes.writeUInt32LE(triangles, 80);
  positions.forEach((value, i) => {
    bytes.writeFloatLE(value, 84 + 50 * Math.floor(i / 9) + 12 + 4 * (i % 9));
  });
  return bytes;
}

const options = boxOptions();
const bytes = binaryStl(options);
const file = join(folder, 'b\u00f6x \u2713.stl');
writeFileSync(file, bytes);

const refused = (promise, expected) => assert.rejects(promise, expected);

test('promises triangles, format, objects and warnings of a file', async () => {
  assert.deepEqual(await readMesh(file), {
    positions: options.positions,
    format: 'binary STL',
    objects: [{ name: '', triangles: 12 }],
    warnings: [],
  });
});

test('its positions are what a slicer takes', async () => {
  const { positions } = await readMesh(file);
  assert.equal(new Slicer({ ...options, positions }).layerCount, 3);
});

test('reads bytes in whatever they come, also from another realm', async () => {
  const whole = new Uint8Array(bytes);
  const padded = new Uint8Array(bytes.length + 8);
  padded.set(bytes, 4);
  for (const source of [
    bytes,
    whole,
    whole.buffer,
    new Uint16Array(whole.buffer, 0, bytes.length / 2),
    new DataView(padded.buffer, 4, bytes.length),
    new Uint8Array(new SharedArrayBuffer(bytes.length)).fill(0),
    runInNewContext('Uint8Array.from(list)', { list: [...bytes] }),
  ]) {
    if (source.buffer instanceof SharedArrayBuffer) source.set(bytes);
    assert.deepEqual((await readMesh(source)).positions, options.positions);
  }
});

test('bytes are copied by the call: what becomes of them has no effect', async () => {
  const changed = new Uint8Array(bytes);
  const promise = readMesh(changed);
  changed.fill(0);
  const resizable = new ArrayBuffer(bytes.length, { maxByteLength: bytes.length });
  new Uint8Array(resizable).set(bytes);
  const shrunk = readMesh(resizable);
  resizable.resize(0);
  for (const { positions } of await Promise.all([promise, shrunk])) {
    assert.deepEqual(positions, options.positions);
  }
});

test('names of parts may be in any script, and are text whatever bytes they are', async () => {
  const named = (name) =>
    Buffer.concat([Buffer.from('v 0 0 0\nv 1 0 0\nv 0 1 1\no '), name, Buffer.from('\nf 1 2 3\n')]);
  const objects = async (name) => (await readMesh(named(Buffer.from(name)))).objects;
  assert.deepEqual(await objects('\u5929 b'), [{ name: '\u5929 b', triangles: 1 }]);
  assert.equal((await objects([0xff, 0x41]))[0].name, '\ufffdA');
});

test('an Error names the file, what is wrong and where, and has a code', async () => {
  const cut = join(folder, 'cut.obj');
  writeFileSync(cut, 'v 0 0 0\nf 1 2 3\n');
  const message =
    'line 2 has a face with corner "2", but 1 vertex precedes it. ' +
    'The file is cut off or damaged; copy or export it again.';
  await refused(readMesh(cut), { code: 'ERR_STILTFORGE_MESH', message: `${cut}: ${message}` });
  const content = Buffer.from('v 0 0 0\nf 1 2 3\n');
  await refused(readMesh(content), { code: 'ERR_STILTFORGE_MESH', message });
  await refused(readMesh(content, { name: 'part.obj' }), { message: `part.obj: ${message}` });
  await refused(readMesh(bytes.subarray(0, 300), { name: 'a.stl' }), {
    message: /^a\.stl: the binary STL is cut off/,
  });
  await refused(readMesh(''), { code: 'ERR_STILTFORGE_MESH' });
  await refused(readMesh(new Uint8Array(0)), { message: /^the file is empty/ });
});

test('a path with a character 0 is refused, not cut there', () =>
  refused(readMesh(`${file}\0.png`), {
    code: 'ERR_STILTFORGE_MESH',
    message: 'The path holds a character 0. Check the path.',
  }));

test('arguments of another kind are refused in words', async () => {
  for (const source of [undefined, null, 7, {}, new SharedArrayBuffer(8), Symbol('mesh')]) {
    await refused(readMesh(source), { name: 'TypeError', message: /^The mesh must be a path or/ });
  }
  await refused(readMesh(file, 'fast'), { name: 'TypeError' });
  await refused(readMesh(file, { signal: {} }), { message: /"signal" must be an AbortSignal/ });
  await refused(readMesh(bytes, { name: 7 }), { message: /"name" must be a string/ });
  await refused(readMesh(bytes, { nmae: 'part.obj' }), {
    name: 'TypeError',
    message: 'There is no option "nmae"; the options are name, signal.',
  });
});

test('reading ends when its signal is aborted', async () => {
  const text = join(folder, 'long.obj');
  writeFileSync(text, `${'# a long comment\n'.repeat(3_000_000)}v 0 0 0\n`);
  const controller = new AbortController();
  const promise = readMesh(text, { signal: controller.signal });
  controller.abort();
  await refused(promise, { code: 'ABORT_ERR', message: `${text}: The reading was cancelled.` });
  await refused(readMesh(file, { signal: AbortSignal.abort() }), { code: 'ABORT_ERR' });
});

test('a thread may end while it reads', async () => {
  const load = `
    const { loadBinary } = require('stiltforge/load');
    const { parentPort, workerData } = require('node:worker_threads');
    for (let i = 0; i < 20; ++i) loadBinary('binding.node').readMesh(workerData);
    parentPort.on('message', () => {}); // so that it does not end by itself
    parentPort.postMessage('reading');`;
  const worker = new Worker(load, { eval: true, workerData: file });
  await new Promise((resolve) => worker.once('message', resolve));
  assert.equal(await worker.terminate(), 1);
});
