// Runs what was built for other platforms, as far as this machine can, and compares its results with
// those of the build for this machine.
import { existsSync, mkdirSync, readFileSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { installedNode, newest } from '../nodes.mjs';
import { run } from '../run.mjs';
import { buildDigest, root } from './build.mjs';
import { muslCommand } from './musl_machine.mjs';
import { platformPackageName, writePlatformPackage, writeWorkspacePackage } from './packages.mjs';
import { writeSamples } from './samples.mjs';

/** The oldest Node that the package promises, and each line that is maintained. */
const nodes = ['20.0.0', '20', '22', '24', newest];

/** Yields the commands that run a script on a machine of the target, as far as one can be had here. */
function* machinesOf(target, { compiler, folder }) {
  if (target.libc === 'musl') {
    const how = target.cpu === 'arm64' ? "on Debian's musl under qemu-user" : "on Debian's musl";
    yield { runtime: 'Bun', how, command: () => muslCommand(target, compiler, folder) };
    return;
  }
  const runner = {
    'linux-x64-gnu': { versions: nodes, before: [], how: 'here' },
    'linux-arm64-gnu': {
      versions: ['20', '24'],
      before: ['qemu-aarch64', '-L', '/usr/aarch64-linux-gnu'],
      how: 'under qemu-user',
    },
    // Node 24 does not get the memory that it asks for at its start under wine 8.
    'win32-x64': { versions: ['20', '22'], before: ['wine'], how: 'under wine' },
  }[target.name];
  for (const version of runner?.versions ?? []) {
    const node = () => installedNode(version, target.os, target.cpu);
    const command = () => [...runner.before, node()];
    yield { runtime: `Node ${version}`, how: runner.how, command };
  }
}

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

/** The digest program, which holds the core alone. */
function digestRun(target, setting) {
  const how = target.cpu === 'arm64' ? ' under qemu-user' : '';
  let details = [];
  try {
    const program = buildDigest(target, setting);
    const command = target.cpu === 'arm64' ? ['qemu-aarch64', program] : [program];
    run(process.execPath, [join(root, 'scripts/digest.mjs'), '--check', ...command]);
  } catch ({ message }) {
    details = [message];
  }
  const label = `${target.name}, digest of the core as a static program${how}`;
  return { label, same: details.length === 0, details };
}

/**
 * Yields the outcome of each run of the target: { label, same, details }. `binaries`: the folder of its
 * addons; `setting`: what it was built with, see `build`.
 */
export function* runTarget(target, binaries, setting) {
  const { folder } = setting;
  const samples = join(folder, 'samples');
  const machines = [...machinesOf(target, setting)];
  if (machines.length === 0) return;
  writeSamples(samples);
  const native = join(root, 'packages/stiltforge');
  const expected = resultsOf([process.execPath], native, samples, join(folder, 'native.json'));
  const installed = install(target, binaries, join(folder, 'installed'));
  for (const { runtime, how, command } of machines) {
    try {
      const env = target.os === 'win32' ? prepareWine(folder) : {};
      const output = join(folder, `${target.name}-${runtime.replace(' ', '-')}.json`);
      const results = resultsOf(command(), installed, samples, output, env);
      const details = differences(results.digests, expected.digests);
      const label = `${target.name}, ${results.runtime} ${how}, ${results.vectorPath} code path`;
      yield { label, same: details.length === 0, details };
    } catch ({ message }) {
      yield { label: `${target.name}, ${runtime} ${how}`, same: false, details: [message] };
    }
  }
  // What runs the addons of musl is no Node: the core is tried without it, too.
  if (target.libc === 'musl') yield digestRun(target, setting);
}
