// The road from a mesh to its outputs as programs take it.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import {
  analyseMesh,
  defaultPrint,
  defaultSupport,
  loadMesh,
  noProgress,
  partWithSupportsStl,
  placeSupports,
  pointsCsv,
  reportPage,
  supportsJson,
  threeMfProject,
  UserError,
} from 'stiltforge-cli';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

const settings = { print: defaultPrint, support: defaultSupport };

async function job(triangles, name = 'part.stl') {
  const { positions: mesh, warnings: meshWarnings } = await loadMesh(
    binaryStl(triangles),
    undefined,
    name,
  );
  return { name, mesh, meshWarnings, ...settings };
}

test('the functions give what the command writes', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table()));
  const words = ['--no-pictures', '-q', '--format', 'json,csv,3mf', '--report'];
  assert.equal((await stiltforge(['part.stl', ...words], { cwd: folder })).code, 0);
  const written = (name) => readFile(join(folder, 'part-supports', name));

  const part = await placeSupports(await job(table()));
  assert.equal(supportsJson(part.document), String(await written('supports.json')));
  assert.equal(pointsCsv(part.document.supports), String(await written('points.csv')));
  assert.equal(await reportPage(part), String(await written('report.html')));
  const pieces = [];
  for await (const piece of threeMfProject(part)) pieces.push(piece);
  assert.deepEqual(Buffer.concat(pieces), await written('part.3mf'));
});

test('progress is told every layer, and its end', async () => {
  const told = [];
  const progress = {
    ...noProgress,
    start: (layers) => told.push(['start', layers]),
    layers: (done) => told.push(done),
    stop: () => told.push('stop'),
  };
  const { document } = await placeSupports(await job(box([0, 0, 0], [4, 4, 0.2])), { progress });
  assert.equal(document.print.layers, 4);
  assert.deepEqual(told, [['start', 4], 1, 2, 3, 4, 'stop']);
});

/** A part of so many triangles that its files come in several pieces. */
async function largePart() {
  const part = await placeSupports(await job(table()));
  const copies = Math.ceil(20_000 / (table().length / 9));
  const mesh = new Float32Array(copies * table().length);
  for (let i = 0; i < copies; i++) {
    const moved = table().map((value, k) => (k % 3 === 0 ? value + 50 * i : value));
    mesh.set(moved, i * moved.length);
  }
  return { ...part, mesh };
}

for (const [name, pieces] of [
  ['a project', (part, signal, told) => threeMfProject(part, signal, told)],
  [
    'an STL',
    (part, signal, told) =>
      partWithSupportsStl(part, { positions: Float32Array.from(table()) }, signal, told),
  ],
]) {
  test(`${name} tells how far it is while it is written, and a signal ends it`, async () => {
    const part = await largePart();
    const shares = [];
    for await (const _ of pieces(part, undefined, (share) => shares.push(share)));
    assert.ok(shares.length > 2, `${shares}`);
    assert.ok(shares.every((share, i) => share >= (shares[i - 1] ?? 0) && share <= 1));
    assert.ok(shares.some((share) => share > 0.2 && share < 0.9));
    assert.equal(shares.at(-1), 1);

    const stop = new AbortController();
    const reason = new Error('enough');
    await assert.rejects(async () => {
      const told = (share) => share > 0.2 && stop.abort(reason);
      for await (const _ of pieces(part, stop.signal, told));
    }, reason);
  });
}

test('the files with geometry are part of the progress of a run', async (t) => {
  const shares = [];
  const watcher = {
    progress: { ...noProgress, files: (share) => shares.push(share) },
    signal: new AbortController().signal,
    warn() {},
  };
  const outputs = { folder: join(await temporaryFolder(t), 'out'), pictures: false, inspect: [] };
  const scaffold = { settings: {}, merge: true };
  const formats = ['stl', '3mf'];
  await analyseMesh({ ...(await job(table())), ...outputs, formats, scaffold }, watcher);
  assert.ok(shares.every((share, i) => share >= (shares[i - 1] ?? 0)));
  assert.ok(shares.some((share) => Math.abs(share - 1 / 3) < 1e-9));
  assert.equal(shares.at(-1), 1);
});

test('a signal ends each step with its reason', async () => {
  const reason = new Error('enough');
  const signal = AbortSignal.abort(reason);
  await assert.rejects(loadMesh(binaryStl(table()), signal, 'part.stl'), reason);
  await assert.rejects(placeSupports(await job(table()), { signal }), reason);
  const part = await placeSupports(await job(table()));
  await assert.rejects(reportPage(part, undefined, signal), reason);
  await assert.rejects(async () => {
    for await (const _ of threeMfProject(part, signal)) assert.fail('nothing is to come');
  }, reason);
});

test('what a user can mend is a UserError that names the part', async () => {
  const named = (message) => (error) => error instanceof UserError && message.test(error.message);
  await assert.rejects(loadMesh(Buffer.from('no mesh'), undefined, 'x.stl'), named(/^x\.stl: /));
  const wide = await job(box([0, 0, 0], [400, 10, 10]), 'wide.stl');
  await assert.rejects(placeSupports(wide), named(/^wide\.stl: .*mm/));
  const large = { ...(await job(table())), memory: 1e6 };
  await assert.rejects(placeSupports(large), named(/memory/));
});
