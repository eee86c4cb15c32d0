// The packages as people get them: packed, and installed into an empty folder of a machine that has
// Node and npm, and neither a compiler nor a network.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import {
  copyFileSync,
  mkdirSync,
  mkdtempSync,
  readdirSync,
  readFileSync,
  realpathSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { libraries } from '../scripts/libraries/sources.mjs';
import { billOfMaterials } from '../scripts/prebuild/bill_of_materials.mjs';
import { neededFolders } from '../scripts/prebuild/needed.mjs';
import {
  makePackages,
  platformPackageName,
  workspacePackages,
} from '../scripts/prebuild/packages.mjs';
import { writeSamples } from '../scripts/prebuild/samples.mjs';
import { addons, targets } from '../scripts/prebuild/targets.mjs';
import { packInstalled, servePackages } from './package_server.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const folder = realpathSync(mkdtempSync(join(tmpdir(), 'stiltforge-packages-')));
const made = join(folder, 'made');
const samples = join(folder, 'samples');
const project = join(folder, 'project');
const programs = join(folder, 'programs');

const libraryOfC = process.report.getReport().header.glibcVersionRuntime ? 'glibc' : 'musl';
const isOurs = ({ os, cpu, libc = libraryOfC }) =>
  os === process.platform && cpu === process.arch && libc === libraryOfC;
const ours = targets.find(isOurs);

const manifest = (place) => JSON.parse(readFileSync(join(place, 'package.json'), 'utf8'));

let packed;
let needed;
let registry;

/** The npm that runs this, or the one on the PATH. */
function npmProgram() {
  if (process.env.npm_execpath?.endsWith('npm-cli.js')) return process.env.npm_execpath;
  return realpathSync(spawnSync('which', ['npm'], { encoding: 'utf8' }).stdout.trim());
}

/** Runs a program on the bare machine: nothing on its PATH but Node and a shell. */
async function runBare(program, words, { cwd = project } = {}) {
  const env = {
    HOME: folder,
    PATH: programs,
    npm_config_registry: registry?.address,
    npm_config_cache: join(folder, 'cache'),
    npm_config_update_notifier: 'false',
  };
  const child = spawn(program, words, { cwd, env, stdio: ['ignore', 'pipe', 'pipe'] });
  let [out, err] = ['', ''];
  child.stdout.on('data', (text) => {
    out += text;
  });
  child.stderr.on('data', (text) => {
    err += text;
  });
  const code = await new Promise((done, failed) => {
    child.on('error', failed);
    child.on('close', done);
  });
  assert.equal(code, 0, `${program} ${words.join(' ')}\n${out}\n${err}`);
  return out;
}

before(
  async () => {
    // The other platforms' packages hold something that no machine loads.
    const foreign = join(folder, 'foreign');
    mkdirSync(foreign);
    for (const addon of addons) writeFileSync(join(foreign, addon), 'for another platform');
    const built = join(root, 'build/Release');
    const binaries = targets.map((target) => [target.name, isOurs(target) ? built : foreign]);
    packed = makePackages(Object.fromEntries(binaries), made);

    const ownNames = packed.map(({ name }) => name);
    const sources = workspacePackages.map((name) => join(root, 'packages', name));
    const tarballs = join(made, 'tarballs');
    needed = neededFolders(sources, ownNames);
    const others = packInstalled(needed, tarballs);
    registry = await servePackages([...packed, ...others], tarballs);

    mkdirSync(programs);
    symlinkSync(process.execPath, join(programs, 'node'));
    symlinkSync('/bin/sh', join(programs, 'sh'));
    mkdirSync(project);
    writeFileSync(join(project, 'package.json'), '{ "private": true }');
    const npm = [
      npmProgram(),
      'install',
      '--no-audit',
      '--no-fund',
      'stiltforge',
      'stiltforge-cli',
    ];
    await runBare(process.execPath, npm);
    writeSamples(samples);
  },
  { timeout: 600_000 },
);

after(async () => {
  await registry?.close();
  rmSync(folder, { recursive: true, force: true });
});

test('a package exists for each platform, with both addons and nothing else that runs', () => {
  for (const target of targets) {
    const { files, version } = packed.find(({ name }) => name === platformPackageName(target));
    const names = files.map(({ path }) => path).sort();
    assert.deepEqual(names, ['LICENSE', 'NOTICE', 'README.md', ...addons, 'package.json'].sort());
    assert.equal(version, manifest(join(root, 'packages/stiltforge')).version);
  }
});

test('stiltforge names the packages of all platforms in its own version', () => {
  const { version, optionalDependencies } = manifest(join(made, 'stiltforge'));
  const expected = targets.map((target) => [platformPackageName(target), version]);
  assert.deepEqual(optionalDependencies, Object.fromEntries(expected));
});

test('no package carries tests, sources of TypeScript or what only its makers need', () => {
  for (const { name, files } of packed) {
    for (const { path } of files) {
      assert.doesNotMatch(
        path,
        /(^|\/)(test|src|page)\/|(?<!\.d)\.[cm]?ts$|tsbuildinfo|demo/,
        name,
      );
    }
  }
});

test('packages name the works of others that they carry, with their licences', () => {
  const notice = (name) => readFileSync(join(made, name, 'NOTICE'), 'utf8');
  const native = [
    ...['zlib', 'minizip', 'libdeflate', 'expat', 'Boost', 'fast_float', 'nlohmann-json'],
    ...['libc++', 'node-addon-api'],
  ];
  for (const { name } of targets) {
    for (const part of native) assert.ok(notice(name).includes(`\n${part}`), `${part} in ${name}`);
    assert.equal(notice(name).includes('\nmingw-w64'), name.startsWith('win32'));
  }
  for (const part of ['zlib', 'musl', '@emnapi/core']) {
    assert.ok(notice('stiltforge').includes(`\n${part} `), part);
  }
  for (const part of ['three', 'meshoptimizer', '@fontsource/roboto']) {
    assert.ok(notice('viewer').includes(`\n${part} `), part);
  }
});

test('the bill of materials lists all that is installed and all that is linked in, once', () => {
  const found = libraries.map((one) => ({ ...one, package: `lib${one.name}` }));
  const { metadata, components, dependencies } = billOfMaterials(made, needed, found, new Date(0));
  const refs = [metadata.component, ...components].map((one) => one['bom-ref']);
  assert.equal(new Set(refs).size, refs.length);
  const names = components.map(({ name }) => name);
  const expected = [
    ...['stiltforge', 'sharp', 'fflate', 'meshoptimizer', 'three'],
    ...['zlib', 'minizip', 'libdeflate', 'expat', 'boost', 'fast_float', 'nlohmann-json'],
    ...targets.map(platformPackageName),
  ];
  for (const name of expected) assert.ok(names.includes(name), name);
  for (const { ref, dependsOn } of dependencies) {
    for (const one of [ref, ...dependsOn]) assert.ok(refs.includes(one), one);
  }
});

test('npm installs the package of this platform alone', () => {
  const scope = readdirSync(join(project, 'node_modules/@stiltforge'));
  assert.deepEqual(scope, [ours.name]);
});

test('the installed packages give the results of the workspace', async () => {
  const results = join(samples, 'results.mjs');
  const resultsOf = async (name, place) => {
    const output = join(folder, `${name}.json`);
    await runBare(process.execPath, [results, place, samples, output]);
    return JSON.parse(readFileSync(output, 'utf8'));
  };
  const installed = await resultsOf('installed', join(project, 'node_modules/stiltforge'));
  const workspace = await resultsOf('workspace', join(root, 'packages/stiltforge'));
  const platform = join(project, 'node_modules', platformPackageName(ours));
  assert.deepEqual(installed.binaries.map(dirname), [platform, platform]);
  assert.ok(Object.keys(installed.digests).length > 30);
  assert.deepEqual(installed.digests, workspace.digests);
});

test('the installed command finds the supports of a mesh, writes the report and is whole', async () => {
  const command = join(project, 'node_modules/.bin/stiltforge');
  copyFileSync(join(samples, 'part.stl'), join(project, 'part.stl'));
  await runBare(command, ['part.stl', '--height', '8', '--report', '--quiet', '--out', 'supports']);
  const written = readdirSync(join(project, 'supports'));
  for (const file of ['supports.json', 'points.csv', 'part.png', 'report.html']) {
    assert.ok(written.includes(file), `${file} is not among ${written.join(', ')}`);
  }
  const doctor = await runBare(command, ['doctor']);
  assert.match(doctor, /All is there\.$/m);
  assert.ok(doctor.includes(join('node_modules', platformPackageName(ours), 'binding.node')));
});
