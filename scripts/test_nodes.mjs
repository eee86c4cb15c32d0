// Runs the packages' tests, and the packages as npm installs them, on the oldest Node that each of them
// promises to run on, and on the newest.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { installPackages } from '../tests/installed_packages.mjs';
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
newest one of the npm registry, or on the given versions; then packs the packages, installs the tarballs
into an empty folder and runs models through them there. Nodes are kept in build/nodes/.`);
  process.exit(0);
}

function oldest(folder) {
  const { engines } = JSON.parse(readFileSync(join(root, folder, 'package.json'), 'utf8'));
  const [, version] = /^>=([\d.]+)$/.exec(engines.node);
  return [...version.split('.'), '0', '0'].slice(0, 3).join('.');
}

/** The node program of a version, which is told to begin with. */
function nodeFor(what, version) {
  const program = installedNode(version);
  const { stdout } = spawnSync(program, ['--version'], { encoding: 'utf8' });
  console.log(`== ${what} on Node ${stdout.trim()}`);
  return program;
}

function testsPass(folder, version) {
  const program = nodeFor(folder, version);
  const tests = readdirSync(join(root, folder, 'test'))
    .filter((name) => name.endsWith('.test.mjs'))
    .map((name) => join('test', name));
  const { status } = spawnSync(program, ['--test', ...tests], {
    cwd: join(root, folder),
    stdio: 'inherit',
  });
  return status === 0;
}

/** The five functions and the promise API of the installed package give the workspace's results. */
async function packageWorks({ installedResults, workspaceResults }, version) {
  const { digests } = await installedResults(nodeFor('stiltforge, installed,', version));
  assert.deepEqual(digests, (await workspaceResults(process.execPath)).digests);
}

/** The installed command finds supports, and misses nothing. */
async function commandWorks({ project, command }, version) {
  const node = nodeFor('stiltforge-cli, installed,', version);
  const out = `supports-${version}`;
  await command(node, 'part.stl', '--height', '8', '--report', '--quiet', '--out', out);
  const { supports } = JSON.parse(readFileSync(join(project, out, 'supports.json'), 'utf8'));
  assert.ok(supports.length > 0, 'no supports were found');
  assert.match(await command(node, 'doctor'), /All is there\.$/m);
}

const failed = [];
const versionsOf = (folder) => (positionals.length > 0 ? positionals : [oldest(folder), newest]);
try {
  for (const folder of packages) {
    for (const version of versionsOf(folder)) {
      if (!testsPass(folder, version)) failed.push(`${folder} on ${version}`);
    }
  }
  const installation = await installPackages();
  const tries = [
    ...versionsOf('packages/stiltforge').map((version) => ({ works: packageWorks, version })),
    ...versionsOf('packages/cli').map((version) => ({ works: commandWorks, version })),
  ];
  for (const { works, version } of tries) {
    try {
      await works(installation, version);
    } catch (error) {
      console.error(error.message);
      failed.push(`the installed packages on ${version}`);
    }
  }
  await installation.remove();
} catch (error) {
  console.error(`test_nodes: ${error.message}`);
  process.exit(1);
}
console.log(failed.length === 0 ? 'all passed' : `failures: ${failed.join(', ')}`);
process.exit(failed.length === 0 ? 0 : 1);
