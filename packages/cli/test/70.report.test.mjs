import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFile, stat, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { openFile, sliceShown, withoutBrowser } from '../../viewer/test/browser.mjs';
import { outputNames, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, table } from './meshes.mjs';

const demo = fileURLToPath(new URL('../dist/demo.js', import.meta.url));

/** What a report says of its part. */
async function documentOf(file) {
  const [, json] = /id="stiltforge-document">(.*)<\/script>\n/.exec(await readFile(file, 'utf8'));
  return JSON.parse(json);
}

async function report(t, name = 'table.stl', words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, name), binaryStl(table()));
  const options = ['--report', '--no-pictures', '--out', 'out', ...words];
  const result = await stiltforge([`./${name}`, ...options], { cwd: folder });
  assert.equal(result.code, 0, result.err);
  return { ...result, folder: join(folder, 'out'), file: join(folder, 'out', 'report.html') };
}

test('--report writes one file more, and the summary names it', async (t) => {
  const { folder, out } = await report(t);
  assert.deepEqual(await outputNames(folder), ['points.csv', 'report.html', 'supports.json']);
  assert.match(out, /^ +report\.html$/m);
});

test('a report holds supports.json, and a figure for each layer', async (t) => {
  const { folder, file } = await report(t);
  const { schemaVersion, ...supports } = JSON.parse(
    await readFile(join(folder, 'supports.json'), 'utf8'),
  );
  const { part, layers, islands, scaffold, slices } = await documentOf(file);
  // Beside what supports.json says the page has what its points stand for, and loose islands alone.
  assert.deepEqual(
    part.supports.map(({ standsFor: _standsFor, weight: _weight, ...support }) => support),
    supports.supports,
  );
  const { check, ...told } = part;
  assert.deepEqual(check, { findings: [] });
  const { islands: loose, ...verdict } = part.verdict;
  assert.deepEqual({ ...told, supports: [], verdict }, { ...supports, supports: [] });
  assert.deepEqual(loose, []);
  assert.equal(layers.regions.length, supports.print.layers);
  const sum = (values) => values.reduce((total, value) => total + value, 0);
  assert.equal(sum(layers.regions), supports.summary.regions);
  assert.equal(islands.length, supports.summary.islands);
  const volume = sum(layers.material) * supports.print.layerHeight;
  assert.ok(Math.abs(volume / supports.model.sliceVolume - 1) < 1e-4);
  assert.equal(scaffold.supports, supports.supports.length);
  assert.equal(slices.layers.length, supports.print.layers);
});

test('two runs write the same report', async (t) => {
  const [a, b] = await Promise.all([report(t), report(t)].map(async (run) => (await run).file));
  assert.ok((await readFile(a)).equals(await readFile(b)));
});

test('a name that is HTML stays a name', { skip: withoutBrowser }, async (t) => {
  const name = '<img src=x onerror=alert(1)>&amp;.stl';
  const { file } = await report(t, name);
  const { page, asked, complaints } = await openFile(t, file);
  await page.getByRole('heading', { name, exact: true }).waitFor();
  assert.deepEqual([...asked, ...complaints], []);
});

test('the report of the demo is small and shows its layers', {
  skip: withoutBrowser,
}, async (t) => {
  const cwd = await temporaryFolder(t);
  const child = spawn(process.execPath, [demo], { cwd, stdio: 'ignore' });
  assert.deepEqual(await once(child, 'exit'), [0, null]);
  const file = join(cwd, 'out', 'demo', 'report.html');
  const { size } = await stat(file);
  t.diagnostic(`${(size / 1e6).toFixed(1)} MB`);
  assert.ok(size < 8e6, `${size} bytes`);

  const { page, asked, complaints } = await openFile(t, file);
  const { part } = await documentOf(file);
  const { layer } = part.supports[0];
  await page.keyboard.press('Home');
  await sliceShown(page, 0);
  await page.keyboard.press('n');
  await sliceShown(page, layer);
  for (let next = layer + 1; next < layer + 20; next += 1) {
    await page.keyboard.press('ArrowRight');
    await sliceShown(page, next);
  }
  const times = await page.evaluate(() =>
    performance.getEntriesByName('layer shown').map(({ duration }) => duration),
  );
  times.sort((a, b) => a - b);
  t.diagnostic(`half of the layers were shown in ${times[times.length >> 1].toFixed(0)} ms`);
  assert.deepEqual([...asked, ...complaints], []);
});

test('a report of a mesh tells of the cavities that a check finds', async (t) => {
  const folder = await temporaryFolder(t);
  const inner = box([2, 2, 2], [8, 8, 8]).map(([a, b, c]) => [a, c, b]);
  await writeFile(
    join(folder, 'hollow.stl'),
    binaryStl([...box([0, 0, 0], [10, 10, 10]), ...inner]),
  );
  const words = ['hollow.stl', '--report', '--no-pictures', '--lift', '3'];
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 0, err);
  const { part } = await documentOf(join(folder, 'hollow-supports', 'report.html'));
  assert.deepEqual(
    part.check.findings.map(({ kind, severity }) => [kind, severity]),
    [['resinTrap', 'risk']],
  );
  const [{ place }] = part.check.findings;
  assert.ok(place.z >= 2 && place.z <= 8, 'in the coordinates of the mesh');
  assert.equal(part.check.counts, undefined);
});
