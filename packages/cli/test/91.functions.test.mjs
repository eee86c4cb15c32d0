// The road from a mesh to its outputs as programs take it.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import {
  defaultPrint,
  defaultSupport,
  loadMesh,
  noProgress,
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
