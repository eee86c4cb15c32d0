import assert from 'node:assert/strict';
import { copyFileSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import stiltforge, * as namespace from 'stiltforge';
import { runNode } from './harness.mjs';

const require = createRequire(import.meta.url);
const names = [
  'AnalyseSlice',
  'InitAnalyseSlice',
  'GroupToBitmap',
  'CleanPointer',
  'CleanSlicePointer',
];

test('the module has exactly five functions, in this order', () => {
  assert.deepEqual(Reflect.ownKeys(stiltforge), names);
  for (const name of names) assert.equal(typeof stiltforge[name], 'function');
});

test('the functions are anonymous', () => {
  for (const name of names) assert.equal(stiltforge[name].name, '');
});

test('require gives the same object as import', () => {
  assert.equal(require('stiltforge'), stiltforge);
});

test('import offers the functions by name', () => {
  assert.deepEqual(Object.keys(namespace).sort(), [...names, 'default'].sort());
  for (const name of names) assert.equal(namespace[name], stiltforge[name]);
});

test('the promise API works from require and from import', async () => {
  const { Analysis } = await import('stiltforge/analysis');
  assert.equal(require('stiltforge/analysis').Analysis, Analysis);
});

test('AnalyseSlice tells the number of failed support tasks, hidden from enumeration', () => {
  assert.equal(stiltforge.AnalyseSlice.failedTasks, 0);
  assert.deepEqual(Object.keys(stiltforge.AnalyseSlice), []);
});

/** A copy of the package in a folder of its own, without a binary. */
function bareCopy(t) {
  const folder = mkdtempSync(path.join(tmpdir(), 'stiltforge-load-'));
  t.after(() => rmSync(folder, { recursive: true }));
  for (const file of ['index.cjs', 'load.cjs']) {
    copyFileSync(fileURLToPath(new URL(`../${file}`, import.meta.url)), path.join(folder, file));
  }
  return folder;
}

function requireIn(folder, env = {}) {
  const script = `try { require(${JSON.stringify(path.join(folder, 'index.cjs'))}); console.log('loaded'); }
    catch (error) { console.log(error.code); console.log(error.message); }`;
  return runNode(['--eval', script], { env: { STILTFORGE_ADDON: '', ...env } });
}

test('without a binary the error lists what was tried and what to do', async (t) => {
  const folder = bareCopy(t);
  const { stdout } = await requireIn(folder);
  const lines = stdout.split('\n');
  assert.equal(lines[0], 'ERR_STILTFORGE_BINARY');
  const prebuilt = `${process.platform}-${process.arch}`;
  assert.match(
    lines[1],
    new RegExp(`could be loaded for ${prebuilt} \\(Node ${process.versions.node}\\)`),
  );
  assert.ok(stdout.includes(path.join(folder, 'prebuilds', prebuilt, 'stiltforge.node')), stdout);
  assert.ok(stdout.includes(path.join(folder, 'build', 'Release', 'stiltforge.node')), stdout);
  assert.match(stdout, /npm install && npm run build/);
  assert.match(stdout, /STILTFORGE_ADDON/);
});

test('a binary that does not load is reported with the reason', async (t) => {
  const folder = bareCopy(t);
  const prebuilt = path.join(folder, 'prebuilds', `${process.platform}-${process.arch}`);
  mkdirSync(prebuilt, { recursive: true });
  writeFileSync(path.join(prebuilt, 'stiltforge.node'), 'not a shared object');
  const { stdout } = await requireIn(folder);
  assert.match(stdout, /ERR_STILTFORGE_BINARY/);
  assert.match(stdout, /prebuilds.*stiltforge\.node: .*(file too short|invalid|not a)/i);
});

test('STILTFORGE_ADDON names the binary to load', async (t) => {
  const folder = bareCopy(t);
  const { stdout } = await requireIn(folder, { STILTFORGE_ADDON: '/no/such/place.node' });
  assert.match(stdout, /Tried:\n {2}\/no\/such\/place\.node: no such file\n/);
});
