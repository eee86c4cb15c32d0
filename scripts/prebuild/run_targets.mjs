// Runs what was built for other platforms, as far as this machine can, and compares its results with
// those of the build for this machine.
import { existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { installedNode, newest } from '../nodes.mjs';
import { run } from '../run.mjs';
import { buildDigest, compilerEnvironment, root } from './build.mjs';
import { platformPackageName, writePlatformPackage, writeWorkspacePackage } from './packages.mjs';
import { writeSamples } from './samples.mjs';
import { addons } from './targets.mjs';

/** The oldest Node that the package promises, and each line that is maintained. */
const nodes = ['20.0.0', '20', '22', '24', newest];

/** How a machine of x86-64 Linux runs each target; what is not here, it cannot run. */
const runners = {
  'linux-x64-gnu': { versions: nodes, command: (node) => [node], how: 'here' },
  'linux-arm64-gnu': {
    versions: ['20', '24'],
    command: (node) => ['qemu-aarch64', '-L', '/usr/aarch64-linux-gnu', node],
    how: 'under qemu-user',
  },
  'win32-x64': { versions: ['20', '24'], command: (node) => ['wine', node], how: 'under wine' },
};

/** An installation of the package for the target, as npm lays it out. */
function install(target, binaries, folder) {
  rmSync(folder, { recursive: true, force: true });
  const modules = join(folder, 'node_modules');
  writePlatformPackage(target, binaries, join(modules, platformPackageName(target)));
  writeWorkspacePackage('stiltforge', join(modules, 'stiltforge'));
  return join(modules, 'stiltforge');
}

/** Wine in a folder of its own, which tells programs that it is Windows 10. */
function prepareWine(folder) {
  const prefix = join(folder, 'wine');
  const env = { WINEPREFIX: prefix, WINEDEBUG: '-all', DISPLAY: '', NODE_SKIP_PLATFORM_CHECK: '1' };
  if (!existsSync(join(prefix, 'system.reg'))) {
    mkdirSync(prefix, { recursive: true });
    run('wine', ['reg', 'add', 'HKCU\\Software\\Wine', '/v', 'Version', '/d', 'win10', '/f'], {
      env,
    });
  }
  return env;
}

function resultsOf(command, installed, samples, output, env) {
  const script = join(samples, 'results.mjs');
  rmSync(output, { force: true });
  const [program, ...words] = command;
  // Node for Windows cannot write into a pipe under wine.
  run(program, [...words, script, installed, samples, output], {
    env: { STILTFORGE_BINARIES: '', ...env },
    log: `${output}.log`,
  });
  return JSON.parse(readFileSync(output, 'utf8'));
}

/** Names of results that differ. */
function differences(digests, expected) {
  const names = new Set([...Object.keys(digests), ...Object.keys(expected)]);
  return [...names].filter((name) => digests[name] !== expected[name]);
}

/** The digest program, which holds the core alone: no Node for this C library can be had here. */
function* runDigest(target, setting) {
  const how = target.cpu === 'arm64' ? ' under qemu-user' : '';
  const program = buildDigest(target, setting);
  const command = target.cpu === 'arm64' ? ['qemu-aarch64', program] : [program];
  let failure = [];
  try {
    run(process.execPath, [join(root, 'scripts/digest.mjs'), '--check', ...command]);
  } catch ({ message }) {
    failure = [message];
  }
  const label = `${target.name}, digest of the core as a static program${how}`;
  yield { label, same: failure.length === 0, details: failure };
}

/** Loads the addons with musl's own loader, into a program that has every function of Node-API. */
function* loadWithMusl(target, binaries, { compiler, folder }) {
  const { symbols } = createRequire(join(root, 'package.json'))('node-api-headers');
  const names = Object.values(symbols).flatMap((lists) => Object.values(lists).flat());
  const source = join(folder, 'musl_host.c');
  const program = join(folder, 'musl_host');
  const functions = [...new Set(names)].map((name) => `int ${name}(void) { return 9; }\n`);
  const main = `#include <dlfcn.h>
#include <stdio.h>
int main(int count, char** words) {
  for (int i = 1; i < count; ++i) {
    void* addon = dlopen(words[i], RTLD_NOW);
    if (!addon || !dlsym(addon, "napi_register_module_v1")) return puts(dlerror()), 1;
  }
  return 0;
}
`;
  writeFileSync(source, functions.join('') + main);
  const options = [
    '-target',
    target.triple,
    '-O3',
    '-s',
    '-dynamic',
    '-rdynamic',
    '-w',
    '-o',
    program,
    source,
  ];
  run(compiler.program, ['cc', ...options], { env: compilerEnvironment(compiler, folder) });
  let failure = [];
  try {
    const loader = '/lib/ld-musl-x86_64.so.1';
    run(loader, [program, ...addons.map((name) => join(binaries, name))]);
  } catch ({ message }) {
    failure = [message];
  }
  yield { label: `${target.name}, loaded by musl`, same: failure.length === 0, details: failure };
}

/**
 * Yields the outcome of each run of the target: { label, same, details }. `binaries`: the folder of its
 * addons; `setting`: what it was built with, see `build`.
 */
export function* runTarget(target, binaries, setting) {
  const { folder } = setting;
  const samples = join(folder, 'samples');
  writeSamples(samples);
  const native = join(root, 'packages/stiltforge');
  const expected = resultsOf([process.execPath], native, samples, join(folder, 'native.json'));
  const runner = runners[target.name];
  if (runner) {
    const installed = install(target, binaries, join(folder, 'installed'));
    const env = target.os === 'win32' ? prepareWine(folder) : {};
    for (const version of runner.versions) {
      const node = installedNode(version, target.os, target.cpu);
      const output = join(folder, `${target.name}-${version}.json`);
      const results = resultsOf(runner.command(node), installed, samples, output, env);
      const different = differences(results.digests, expected.digests);
      yield {
        label: `${target.name}, Node ${results.node} ${runner.how}, ${results.vectorPath} code path`,
        same: different.length === 0,
        details: different,
      };
    }
  }
  if (target.libc === 'musl') yield* runDigest(target, setting);
  if (target.name === 'linux-x64-musl') yield* loadWithMusl(target, binaries, setting);
}
