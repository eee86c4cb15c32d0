// The packages as people get them: packed, and installed into an empty folder of a machine that has
// Node and npm, and neither a compiler nor a network.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import {
  copyFileSync,
  mkdirSync,
  mkdtempSync,
  readFileSync,
  realpathSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { neededFolders } from '../scripts/prebuild/needed.mjs';
import { makePackages, workspacePackages } from '../scripts/prebuild/packages.mjs';
import { writeSamples } from '../scripts/prebuild/samples.mjs';
import { addons, targets } from '../scripts/prebuild/targets.mjs';
import { packInstalled, servePackages } from './package_server.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));

const libraryOfC = process.report.getReport().header.glibcVersionRuntime ? 'glibc' : 'musl';
const isOurs = ({ os, cpu, libc = libraryOfC }) =>
  os === process.platform && cpu === process.arch && libc === libraryOfC;

/** The target that this machine is. */
export const ours = targets.find(isOurs);

/** The npm that runs this, or the one on the PATH. */
function npmProgram() {
  if (process.env.npm_execpath?.endsWith('npm-cli.js')) return process.env.npm_execpath;
  return realpathSync(spawnSync('which', ['npm'], { encoding: 'utf8' }).stdout.trim());
}

/** Packs all packages, with the native build as that of this platform; see `makePackages`. */
function packAll(folder, made) {
  // The other platforms' packages hold something that no machine loads.
  const foreign = join(folder, 'foreign');
  mkdirSync(foreign);
  for (const addon of addons) writeFileSync(join(foreign, addon), 'for another platform');
  const built = join(root, 'build/Release');
  const binaries = targets.map((target) => [target.name, isOurs(target) ? built : foreign]);
  return makePackages(Object.fromEntries(binaries), made);
}

/**
 * Packs and installs all. Resolves to the temporary `folder`, in it the packages as they were `made` and
 * the `project` that they were installed into; what npm told of the `packed` ones, and the folders of the
 * `needed` ones of others; and functions that try the installation on a Node or remove it all.
 */
export async function installPackages() {
  const folder = realpathSync(mkdtempSync(join(tmpdir(), 'stiltforge-packages-')));
  const made = join(folder, 'made');
  const samples = join(folder, 'samples');
  const project = join(folder, 'project');
  const packed = packAll(folder, made);

  const ownNames = packed.map(({ name }) => name);
  const sources = workspacePackages.map((name) => join(root, 'packages', name));
  const tarballs = join(made, 'tarballs');
  const needed = neededFolders(sources, ownNames);
  const registry = await servePackages([...packed, ...packInstalled(needed, tarballs)], tarballs);

  /** Runs a program on the bare machine: nothing on its PATH but this Node and a shell. */
  async function run(node, program, words) {
    const programs = mkdtempSync(join(folder, 'programs-'));
    symlinkSync(node, join(programs, 'node'));
    symlinkSync('/bin/sh', join(programs, 'sh'));
    const env = {
      HOME: folder,
      PATH: programs,
      npm_config_registry: registry.address,
      npm_config_cache: join(folder, 'cache'),
      npm_config_update_notifier: 'false',
    };
    const child = spawn(program, words, { cwd: project, env, stdio: ['ignore', 'pipe', 'pipe'] });
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

  /** What the package in a folder makes of the samples, by results.mjs, on this Node. */
  async function results(node, place) {
    const output = join(mkdtempSync(join(folder, 'results-')), 'results.json');
    await run(node, node, [join(samples, 'results.mjs'), place, samples, output]);
    return JSON.parse(readFileSync(output, 'utf8'));
  }

  mkdirSync(project);
  writeFileSync(join(project, 'package.json'), '{ "private": true }');
  const words = ['install', '--no-audit', '--no-fund', 'stiltforge', 'stiltforge-cli'];
  await run(process.execPath, process.execPath, [npmProgram(), ...words]);
  writeSamples(samples);
  copyFileSync(join(samples, 'part.stl'), join(project, 'part.stl'));

  return {
    folder,
    made,
    project,
    packed,
    needed,
    installedResults: (node) => results(node, join(project, 'node_modules/stiltforge')),
    workspaceResults: (node) => results(node, join(root, 'packages/stiltforge')),
    command: (node, ...options) =>
      run(node, join(project, 'node_modules/.bin/stiltforge'), options),
    async remove() {
      await registry.close();
      rmSync(folder, { recursive: true, force: true });
    },
  };
}
