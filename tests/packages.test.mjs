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
import {
  makePackages,
  platformPackageName,
  workspacePackages,
} from '../scripts/prebuild/packages.mjs';
import { writeSamples } from '../scripts/prebuild/samples.mjs';
import { addons, targets } from '../scripts/prebuild/targets.mjs';
import { neededFolders, packInstalled, servePackages } from './package_server.mjs';

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
    const others = packInstalled(neededFolders(sources, ownNames), tarballs);
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
  { timeout: 240_000 },
);

after(async () => {
  await registry?.close();
  rmSync(folder, { recursive: true, force: true });
});

test('a package exists for each platform, with both addons and nothing else that runs', () => {
  for (const target of targets) {
    const { files, version } = packed.find(({ name }) => name === platformPackageName(target));
    const names = files.map(({ path }) => path).sort();
    assert.deepEqual(names, ['LICENSE', 'README.md', ...addons, 'package.json'].sort());
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
