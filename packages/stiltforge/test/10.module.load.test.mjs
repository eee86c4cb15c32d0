import assert from 'node:assert/strict';
import { copyFileSync, mkdirSync, mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import stiltforge, * as namespace from 'stiltforge';
import { parameters, runInChild, runNode } from './harness.mjs';

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

const machine = `${process.platform}-${process.arch}`;
const libraryOfC = process.report.getReport().header.glibcVersionRuntime ? 'gnu' : 'musl';
const platformPackage = `@stiltforge/${process.platform === 'linux' ? `${machine}-${libraryOfC}` : machine}`;
const { version } = require('../package.json');
const packageFolder = fileURLToPath(new URL('..', import.meta.url));
const realBinary = Object.keys(require.cache).find((file) => file.endsWith('stiltforge.node'));

/** A folder that goes with the test. */
function temporaryFolder(t) {
  const folder = realpathSync(mkdtempSync(path.join(tmpdir(), 'stiltforge-load-')));
  t.after(() => rmSync(folder, { recursive: true }));
  return folder;
}

/** The package without a binary, in a folder of this path below `root`. */
function copyOfPackage(root, ...where) {
  const folder = path.join(root, ...where);
  mkdirSync(folder, { recursive: true });
  for (const file of ['package.json', 'index.cjs', 'load.cjs']) {
    copyFileSync(path.join(packageFolder, file), path.join(folder, file));
  }
  return folder;
}

function placeBinary(...where) {
  const file = path.join(...where, 'stiltforge.node');
  mkdirSync(path.dirname(file), { recursive: true });
  copyFileSync(realBinary, file);
  return file;
}

/** The platform's package as npm installs it beside the package in `folder`; returns its folder. */
function installPlatformPackage(folder, manifest = { version }) {
  const place = path.join(folder, '..', platformPackage);
  mkdirSync(place, { recursive: true });
  writeFileSync(path.join(place, 'package.json'), JSON.stringify(manifest));
  return place;
}

/** What happens when the copy is required: the file that was loaded, or the error. */
async function requireIn(folder, env = {}) {
  const script = `
    const say = (outcome) => console.log(JSON.stringify(outcome));
    try {
      require(${JSON.stringify(folder)});
      say({ file: Object.keys(require.cache).find((file) => file.endsWith('.node')) });
    } catch ({ code, message }) {
      say({ code, message });
    }`;
  const { stdout } = await runNode(['--eval', script], {
    env: { STILTFORGE_BINARIES: '', ...env },
  });
  return JSON.parse(stdout);
}

test('without a binary the error is one sentence: the platform, what was tried, what to do', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const { code, message } = await requireIn(folder);
  assert.equal(code, 'ERR_STILTFORGE_BINARY');
  assert.equal(message.split('\n').length, 1);
  const beginning =
    `There is no stiltforge.node that Node ${process.versions.node} can load on ${machine}` +
    ` (tried ${platformPackage}: not installed): install ${platformPackage}@${version} `;
  assert.equal(message.slice(0, beginning.length), beginning);
  assert.match(
    message,
    /, import stiltforge\/wasm, which needs none, or run "npm run build" in a clone of the repository, which needs /,
  );
  assert.match(message, / STILTFORGE_BINARIES name its folder build\/Release\.$/);
});

/** The same on a machine whose `process` has these values. */
async function requireOn(machine, folder) {
  const file = path.join(folder, 'machine.cjs');
  const lines = Object.entries(machine).map(
    ([key, value]) =>
      `Object.defineProperty(process, '${key}', { value: ${JSON.stringify(value)} });`,
  );
  const report = machine.report
    ? `process.report.getReport = () => (${JSON.stringify(machine.report)});`
    : '';
  writeFileSync(file, `${lines.join('\n')}\n${report}`);
  return requireIn(folder, { NODE_OPTIONS: `--require "${file}"` });
}

test('on a platform without a package the error tells to build', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const { message } = await requireOn({ arch: 'riscv64' }, folder);
  assert.match(
    message,
    /on \w+-riscv64 \(there is no package with binaries for it\): import stiltforge\/wasm.* or run/,
  );
});

test('each platform is told the name of its package', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const glibc = { header: { glibcVersionRuntime: '2.36' } };
  const machines = {
    'linux-arm64-gnu': { platform: 'linux', arch: 'arm64', report: glibc },
    'linux-x64-musl': { platform: 'linux', arch: 'x64', report: { header: {} } },
    'win32-arm64': { platform: 'win32', arch: 'arm64' },
    'darwin-arm64': { platform: 'darwin', arch: 'arm64' },
  };
  for (const [name, machine] of Object.entries(machines)) {
    const { code, message } = await requireOn(machine, folder);
    assert.equal(code, 'ERR_STILTFORGE_BINARY');
    const middle =
      ` can load on ${machine.platform}-${machine.arch} (tried @stiltforge/${name}: not installed):` +
      ` install @stiltforge/${name}@${version} `;
    assert.ok(message.includes(middle), message);
  }
});

test('packages that were installed on another platform are named', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  placeBinary(installPlatformPackage(folder));
  const { message } = await requireOn({ platform: 'darwin', arch: 'x64' }, folder);
  const reason =
    `(tried @stiltforge/darwin-x64: not installed, but ${platformPackage} for another platform):` +
    ` install @stiltforge/darwin-x64@${version} `;
  assert.ok(message.includes(reason), message);
});

test('a system with too old a glibc is told so, and what runs there', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const report = { header: { glibcVersionRuntime: '2.17' } };
  const { message } = await requireOn({ platform: 'linux', arch: 'x64', report }, folder);
  assert.match(
    message,
    /: the binaries need glibc 2\.28 or newer and this system has 2\.17, so import stiltforge\/wasm/,
  );
});

test('too old a Node is told which one it takes', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const { message } = await requireOn({ versions: { node: '18.20.4' } }, folder);
  assert.match(message, / that Node 18\.20\.4 can load .*: run it on Node 20 or newer\.$/);
});

test("the platform's package is loaded", async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const file = placeBinary(installPlatformPackage(folder));
  assert.deepEqual(await requireIn(folder), { file });
});

test('a package of another version is not loaded, and the error names both versions', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  placeBinary(installPlatformPackage(folder, { version: '99.0.0' }));
  const { code, message } = await requireIn(folder);
  assert.equal(code, 'ERR_STILTFORGE_BINARY');
  const reason = `${platformPackage}: its version is 99.0.0, that of stiltforge ${version})`;
  assert.ok(message.includes(reason), message);
});

test('a binary that does not load is reported with the reason', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const place = installPlatformPackage(folder);
  writeFileSync(path.join(place, 'stiltforge.node'), 'not a shared object');
  const { code, message } = await requireIn(folder);
  assert.equal(code, 'ERR_STILTFORGE_BINARY');
  assert.match(message, /@stiltforge.*stiltforge\.node: .*(file too short|invalid|not a)/i);
  assert.equal(message.split(place).length, 2, 'the file is named once');
  assert.ok(message.includes(`: install ${platformPackage}@${version} anew, `), message);
});

test('a package whose package.json is broken is reported', async (t) => {
  const folder = copyOfPackage(temporaryFolder(t), 'node_modules', 'stiltforge');
  const manifest = path.join(installPlatformPackage(folder), 'package.json');
  writeFileSync(manifest, '{ "version": ');
  const { code, message } = await requireIn(folder);
  assert.equal(code, 'ERR_STILTFORGE_BINARY');
  assert.ok(message.includes(manifest), message);
  assert.ok(message.includes(`: install ${platformPackage}@${version} anew, `), message);
});

test('STILTFORGE_BINARIES names the folder of the binaries, and no other is looked at', async (t) => {
  const root = temporaryFolder(t);
  const folder = copyOfPackage(root, 'node_modules', 'stiltforge');
  placeBinary(installPlatformPackage(folder));
  const chosen = path.join(root, 'chosen');
  const { message } = await requireIn(folder, { STILTFORGE_BINARIES: chosen });
  assert.ok(
    message.includes(` (tried ${path.join(chosen, 'stiltforge.node')}: no such file): let`),
    message,
  );
  assert.match(message, /STILTFORGE_BINARIES name a folder with the binaries.*, or unset it\.$/);
  const file = placeBinary(chosen);
  assert.deepEqual(await requireIn(folder, { STILTFORGE_BINARIES: chosen }), { file });
});

test('a binary in a folder above the package is never run', async (t) => {
  const root = temporaryFolder(t);
  const project = path.join(root, 'shared', 'project');
  const folder = copyOfPackage(project, 'node_modules', 'stiltforge');
  writeFileSync(path.join(root, 'package.json'), '{ "name": "stiltforge-workspace" }');
  for (let above = folder; above !== path.dirname(root); above = path.dirname(above)) {
    placeBinary(above, 'build', 'Release');
    placeBinary(above, 'prebuilds', machine);
  }
  assert.equal((await requireIn(folder)).code, 'ERR_STILTFORGE_BINARY');
});

test('in a clone of the repository its own build comes before an installed package', async (t) => {
  const root = temporaryFolder(t);
  const folder = copyOfPackage(root, 'packages', 'stiltforge');
  const place = path.join(folder, 'node_modules', 'stiltforge');
  const packaged = placeBinary(installPlatformPackage(place));
  const built = placeBinary(root, 'build', 'Release');
  copyFileSync(
    path.join(packageFolder, '..', '..', 'package.json'),
    path.join(root, 'package.json'),
  );
  assert.deepEqual(await requireIn(folder), { file: built });
  rmSync(built);
  assert.deepEqual(await requireIn(folder), { file: packaged });
  rmSync(packaged);
  const { message } = await requireIn(folder);
  assert.ok(message.includes(`: run "npm run build" in ${root}, which needs `), message);
});

test('a workspace of another name is no clone of the repository', async (t) => {
  const root = temporaryFolder(t);
  const folder = copyOfPackage(root, 'packages', 'stiltforge');
  placeBinary(root, 'build', 'Release');
  for (const manifest of ['{ "name": "other" }', '[', undefined]) {
    const file = path.join(root, 'package.json');
    if (manifest === undefined) rmSync(file);
    else writeFileSync(file, manifest);
    assert.equal((await requireIn(folder)).code, 'ERR_STILTFORGE_BINARY');
  }
});

test('the promise API can be imported without a binary and says at the first use what is missing', async () => {
  const child = await runInChild(
    `const { Analysis } = await import(analysisUrl);
     try {
       Analysis.create(${JSON.stringify(parameters())});
     } catch ({ name, code, message }) {
       console.log(name, code, message);
     }`,
    { loadModule: false, env: { STILTFORGE_BINARIES: packageFolder } },
  );
  assert.equal(child.stderr, '');
  assert.match(child.stdout, /^AnalysisError ERR_STILTFORGE_BINARY There is no .*\.node that Node/);
});
