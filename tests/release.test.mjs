// The rules that binaries and packages of a release are held to.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { libraries, libraryFaults, makersVersion } from '../scripts/libraries/sources.mjs';
import { faultsOf } from '../scripts/prebuild/check_binary.mjs';
import {
  changelogFaults,
  missingFiles,
  oddFiles,
  recordFaults,
  versionFaults,
} from '../scripts/prebuild/release_rules.mjs';
import { targets, targetsNamed } from '../scripts/prebuild/targets.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));

test('packages of one version that ask for each other in it may be released', () => {
  const manifests = [
    { name: 'stiltforge', version: '1.2.3' },
    {
      name: 'stiltforge-cli',
      version: '1.2.3',
      dependencies: { stiltforge: '1.2.3', other: '^1' },
    },
  ];
  assert.deepEqual(versionFaults(manifests, 'project(stiltforge VERSION 1.2.3 LANGUAGES CXX)'), []);
});

test('another version of a package, of what it asks for or of the library is a fault', () => {
  const manifests = [
    { name: 'stiltforge', version: '1.2.3' },
    { name: 'stiltforge-cli', version: '1.2.2', dependencies: { stiltforge: '^1.2.3' } },
  ];
  assert.deepEqual(versionFaults(manifests, 'project(stiltforge VERSION 1.2.0)'), [
    'stiltforge-cli has the version 1.2.2, not 1.2.3',
    'stiltforge-cli asks for stiltforge ^1.2.3, not 1.2.3',
    'CMakeLists.txt has the version 1.2.0, not 1.2.3',
  ]);
});

test('a changelog is ready when its newest section has the version', () => {
  assert.deepEqual(changelogFaults('# Changelog\n\n## 1.2.3\n\n## 1.2.2\n', '1.2.3'), []);
  assert.deepEqual(changelogFaults('## Unreleased\n', '1.2.3'), [
    'there is a section "Unreleased": give it the heading "## 1.2.3"',
  ]);
  assert.deepEqual(changelogFaults('## 1.2.2\n', '1.2.3'), ['there is no heading "## 1.2.3"']);
});

test('binaries are ready that were checked, run and built twice, of these very sources', () => {
  const now = { sources: 'abc', libraries: [{ name: 'zlib', version: '1.2.13-1' }] };
  const record = { ...now, faults: [], sameAgain: true, runs: [{ label: 'a run', same: true }] };
  assert.deepEqual(recordFaults(record, now), []);
  assert.deepEqual(recordFaults({ ...record, runs: [] }, now), []);
  const redo = 'npm run prebuild -- --test --twice';
  const other = { faults: ['it needs a.so'], sources: 'abc+', libraries: [] };
  assert.deepEqual(recordFaults(other, now), [
    'it needs a.so',
    'built from other sources (abc+, not abc)',
    'other revisions of libraries are inside',
    `not run: ${redo}`,
    `not built twice: ${redo}`,
  ]);
  const different = { ...record, sameAgain: false, runs: [{ label: 'a run', same: false }] };
  assert.deepEqual(recordFaults(different, now), [
    'other results: a run',
    'other bytes when built elsewhere',
  ]);
  assert.deepEqual(recordFaults(undefined, now), [`not built: ${redo}`]);
});

test('a package that lacks what its package.json names, or holds what is for its makers, is found', (t) => {
  const folder = mkdtempSync(join(tmpdir(), 'stiltforge-release-'));
  t.after(() => rmSync(folder, { recursive: true }));
  const manifest = { name: 'part', exports: { '.': { types: './a.d.ts', default: './a.js' } } };
  writeFileSync(join(folder, 'package.json'), JSON.stringify(manifest));
  const paths = ['LICENSE', 'README.md', 'a.js', 'src/a.ts', 'test/a.test.mjs', 'binding.node'];
  const packed = { name: 'part', folder, files: paths.map((path) => ({ path })) };
  assert.deepEqual(missingFiles(packed), ['part lacks a.d.ts']);
  assert.deepEqual(oddFiles(packed), [
    'part holds src/a.ts',
    'part holds test/a.test.mjs',
    'part holds binding.node',
  ]);
});

test('a platform without its second addon or its NOTICE is found', (t) => {
  const folder = mkdtempSync(join(tmpdir(), 'stiltforge-release-'));
  t.after(() => rmSync(folder, { recursive: true }));
  mkdirSync(folder, { recursive: true });
  writeFileSync(join(folder, 'package.json'), JSON.stringify({ os: ['linux'] }));
  const files = ['LICENSE', 'README.md', 'stiltforge.node'].map((path) => ({ path }));
  assert.deepEqual(missingFiles({ name: 'platform', folder, files }), [
    'platform lacks NOTICE',
    'platform lacks binding.node',
  ]);
});

test('a target that does not exist is refused with the names of those that do', () => {
  assert.deepEqual(targetsNamed([]), targets);
  assert.throws(
    () => targetsNamed(['win32-x86']),
    /no target win32-x86; .* win32-x64, win32-arm64/,
  );
});

test('the loader knows the package of each target, and the oldest glibc', () => {
  const loader = readFileSync(join(root, 'packages/stiltforge/load.cjs'), 'utf8');
  for (const { name } of targets) assert.ok(loader.includes(`'${name}'`), name);
  const [{ triple }] = targets;
  assert.ok(loader.includes(`oldestGlibc = '${triple.split('-gnu.')[1]}'`));
});

const onThisMachine = process.platform === 'linux' && process.arch === 'x64';

test('a build for this machine alone is no binary to hand on', { skip: !onThisMachine }, () => {
  const gnu = targets.find(({ name }) => name === 'linux-x64-gnu');
  const faults = faultsOf(join(root, 'build/Release/binding.node'), gnu);
  const start = 'linux-x64-gnu/binding.node: it needs';
  assert.ok(
    faults.includes(`${start} libstdc++.so.6, which not every system has`),
    faults.join('\n'),
  );
  assert.ok(!faults.some((sentence) => sentence.includes('exports')));
});

test('a binary of another platform is found by its format and what it needs', {
  skip: !onThisMachine,
}, () => {
  const file = join(root, 'build/Release/stiltforge.node');
  const arm = targets.find(({ name }) => name === 'linux-arm64-musl');
  const faults = faultsOf(file, arm);
  assert.match(faults[0], /its format is elf64-x86-64, not elf64-littleaarch64$/);
  assert.ok(faults.some((sentence) => sentence.endsWith('libc.so.6, which not every system has')));
});

test('a build for this machine does not make the binaries of all platforms before it', (t) => {
  const folder = mkdtempSync(join(tmpdir(), 'stiltforge-build-'));
  t.after(() => rmSync(folder, { recursive: true }));
  const { scripts } = JSON.parse(readFileSync(join(root, 'package.json'), 'utf8'));
  const echoes = Object.keys(scripts).map((name) => [name, `echo ran ${name}`]);
  writeFileSync(
    join(folder, 'package.json'),
    JSON.stringify({ name: 'workspace', scripts: Object.fromEntries(echoes) }),
  );
  copyFileSync(join(root, '.npmrc'), join(folder, '.npmrc'));
  const options = { cwd: folder, encoding: 'utf8', shell: true };
  assert.equal(execFileSync('npm', ['run', '--silent', 'build'], options).trim(), 'ran build');
  assert.equal(
    execFileSync('npm', ['run', '--silent', 'prebuild'], options).trim(),
    'ran prebuild',
  );
});

const foundAsReleased = () =>
  libraries.map(({ name, version, sha256 }) => ({ name, version: `${version}-1`, sha256 }));

test("Debian's revisions of a library leave the version of its makers", () => {
  assert.equal(makersVersion('1:1.2.13.dfsg-1'), '1.2.13');
  assert.equal(makersVersion('2.5.0-1+deb12u2'), '2.5.0');
  assert.equal(makersVersion('1.74.0+ds1-21'), '1.74.0');
});

test('a release may carry any revision of Debian of the libraries that were looked at', () => {
  const found = foundAsReleased();
  found.find(({ name }) => name === 'expat').version = '2.5.0-1+deb12u9';
  assert.deepEqual(libraryFaults(found), []);
});

test('another version of a library, or other sources of it, are told with what to do', () => {
  const found = foundAsReleased();
  found.find(({ name }) => name === 'expat').version = '2.7.1-2';
  found.find(({ name }) => name === 'minizip').sha256 = 'other';
  const [minizip, expat] = libraryFaults(found);
  assert.match(
    minizip,
    /^the sources of minizip 1.1-1 have the SHA-256 other, not 7d8da4.*: they are/,
  );
  assert.match(
    expat,
    /^expat has the version 2.7.1-2 in .*, and a release carries 2.5.0: make it on/,
  );
});
