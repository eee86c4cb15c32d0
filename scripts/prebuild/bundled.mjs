// Which packages of npm the scripts of a package carry inside, as its bundler tells.
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { build } from 'vite';

const packages = fileURLToPath(new URL('../../packages', import.meta.url));

/** Names of packages in what `packages/NAME` bundles; nothing is written. */
export async function bundledPackages(name) {
  const found = new Set();
  const listener = {
    name: 'tells-modules',
    renderChunk(_, { moduleIds }) {
      for (const id of moduleIds) {
        const [, inside] = /.*\/node_modules\/((?:@[^/]+\/)?[^/]+)/.exec(id) ?? [];
        if (inside) found.add(inside);
      }
    },
  };
  const configFile = join(packages, name, 'vite.config.mjs');
  await build({ configFile, logLevel: 'silent', build: { write: false }, plugins: [listener] });
  return [...found].sort();
}
