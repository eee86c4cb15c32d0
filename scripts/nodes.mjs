// Nodes of any version for any platform, and what else runs JavaScript, from the npm packages that carry
// them.

import { spawnSync } from 'node:child_process';
import { existsSync, mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const folder = fileURLToPath(new URL('../build/nodes', import.meta.url));

/** The newest version; npm is asked each time which that is. */
export const newest = 'latest';

/** A program of an npm package that may be for another platform; throws when npm cannot install it. */
function installedProgram(name, version, { program, isForeign }) {
  const place = join(folder, `${name.replace('/', '-')}-${version}`);
  const file = join(place, 'node_modules', name, 'bin', program);
  if (version !== newest && existsSync(file)) return file;
  mkdirSync(place, { recursive: true });
  const words = ['install', '--no-save', '--no-package-lock', '--loglevel=error'];
  // Another platform's is not run by npm, only put there.
  const more = [...(isForeign ? ['--force'] : []), '--prefix', place, `${name}@${version}`];
  const { status } = spawnSync('npm', [...words, ...more], {
    stdio: ['ignore', 'ignore', 'inherit'],
    shell: process.platform === 'win32',
  });
  if (status === 0 && existsSync(file)) return file;
  throw new Error(`npm could not install ${name}@${version} into ${place}`);
}

/** The node program of a version such as 20.0.0 or 22; throws when npm cannot install it. */
export function installedNode(version, os = process.platform, cpu = process.arch) {
  const name = `node-${os === 'win32' ? 'win' : os}-${cpu}`;
  const program = os === 'win32' ? 'node.exe' : 'node';
  const isForeign = os !== process.platform || cpu !== process.arch;
  return installedProgram(name, version, { program, isForeign });
}

/** Bun for Linux with musl, which npm has no Node for: it has Node's modules and Node-API, too. */
export function installedBun(version, cpu) {
  const name = `@oven/bun-linux-${{ x64: 'x64', arm64: 'aarch64' }[cpu]}-musl`;
  return installedProgram(name, version, { program: 'bun', isForeign: true });
}
