// Runs the packages' tests on the oldest Node that each of them promises to run on, and on the newest.

import { spawnSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { installedNode, newest } from './nodes.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const packages = ['packages/stiltforge', 'packages/viewer', 'packages/cli'];

const { values, positionals } = parseArgs({
  options: { help: { type: 'boolean' } },
  allowPositionals: true,
});
if (values.help) {
  console.log(`usage: npm run test:nodes [-- VERSION...]
Runs the tests of each package on the oldest Node that its package.json names under engines and on the
newest one of the npm registry, or on the given versions. Nodes are kept in build/nodes/.`);
  process.exit(0);
}

function oldest(folder) {
  const { engines } = JSON.parse(readFileSync(join(root, folder, 'package.json'), 'utf8'));
  const [, version] = /^>=([\d.]+)$/.exec(engines.node);
  return [...version.split('.'), '0', '0'].slice(0, 3).join('.');
}

function passes(folder, version) {
  const program = installedNode(version);
  const { stdout } = spawnSync(program, ['--version'], { encoding: 'utf8' });
  console.log(`== ${folder} on Node ${stdout.trim()}`);
  const tests = readdirSync(join(root, folder, 'test'))
    .filter((name) => name.endsWith('.test.mjs'))
    .map((name) => join('test', name));
  const { status } = spawnSync(program, ['--test', ...tests], {
    cwd: join(root, folder),
    stdio: 'inherit',
  });
  return status === 0;
}

const failed = [];
try {
  for (const folder of packages) {
    const versions = positionals.length > 0 ? positionals : [oldest(folder), newest];
    for (const version of versions) {
      if (!passes(folder, version)) failed.push(`${folder} on ${version}`);
    }
  }
} catch (error) {
  console.error(`test_nodes: ${error.message}`);
  process.exit(1);
}
console.log(failed.length === 0 ? 'all passed' : `failures: ${failed.join(', ')}`);
process.exit(failed.length === 0 ? 0 : 1);
