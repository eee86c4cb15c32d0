// Nodes of any version for any platform, from the npm packages that carry them.

import { spawnSync } from 'node:child_process';
import { existsSync, mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const folder = fileURLToPath(new URL('../build/nodes', import.meta.url));

/** The newest version; npm is asked each time which that is. */
export const newest = 'latest';

/** The node program of a version such as 20.0.0 or 22; throws when npm cannot install it. */
export function installedNode(version, os = process.platform, cpu = process.arch) {
  const name = `node-${os === 'win32' ? 'win' : os}-${cpu}`;
  const place = join(folder, `${os}-${cpu}-${version}`);
  const program = join(place, 'node_modules', name, 'bin', os === 'win32' ? 'node.exe' : 'node');
  if (version !== newest && existsSync(program)) return program;
  mkdirSync(place, { recursive: true });
  const words = ['install', '--no-save', '--no-package-lock', '--loglevel=error'];
  // Another platform's is not run by npm, only put there.
  const isForeign = os !== process.platform || cpu !== process.arch;
  const more = [...(isForeign ? ['--force'] : []), '--prefix', place, `${name}@${version}`];
  const { status } = spawnSync('npm', [...words, ...more], {
    stdio: ['ignore', 'ignore', 'inherit'],
    shell: process.platform === 'win32',
  });
  if (status === 0 && existsSync(program)) return program;
  throw new Error(`npm could not install ${name}@${version} into ${place}`);
}
