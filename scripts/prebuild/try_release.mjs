// On a machine of any platform: installs a release's packages of stiltforge and compares the results of
// its samples with those of the machine that made it.
//   node scripts/prebuild/try_release.mjs FOLDER
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';

const release = resolve(process.argv[2]);
const tarballs = join(release, 'tarballs');
const isMusl =
  process.platform === 'linux' && !process.report.getReport().header.glibcVersionRuntime;
const machine = `${process.platform}-${process.arch}`;
const platform = process.platform === 'linux' ? `${machine}-${isMusl ? 'musl' : 'gnu'}` : machine;

const wanted = [new RegExp(`^stiltforge-${platform}-\\d`), /^stiltforge-\d/];
const files = readdirSync(tarballs).filter((name) => wanted.some((kind) => kind.test(name)));
if (files.length !== 2) throw new Error(`${tarballs} has no packages for ${platform}`);

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-release-'));
try {
  writeFileSync(join(folder, 'package.json'), '{ "private": true }');
  // The other platforms' packages are not published yet; npm passes over optional ones that are not there.
  const words = [
    'install',
    '--no-audit',
    '--no-fund',
    ...files.map((name) => join(tarballs, name)),
  ];
  const isWindows = process.platform === 'win32';
  const npm = spawnSync('npm', words, { cwd: folder, stdio: 'inherit', shell: isWindows });
  if (npm.status !== 0) throw new Error('npm could not install the packages');

  const samples = join(release, 'samples');
  const output = join(folder, 'results.json');
  const installed = join(folder, 'node_modules/stiltforge');
  const script = join(samples, 'results.mjs');
  const child = spawnSync(process.execPath, [script, installed, samples, output], {
    stdio: 'inherit',
  });
  if (child.status !== 0)
    throw new Error(`the samples failed with ${child.status ?? child.signal}`);

  const read = (file) => JSON.parse(readFileSync(file, 'utf8'));
  const [results, expected] = [read(output), read(join(samples, 'expected.json'))];
  const names = Object.keys(expected.digests);
  const different = names.filter((name) => results.digests[name] !== expected.digests[name]);
  console.log(`${platform}, ${results.runtime}, ${results.vectorPath} code path`);
  for (const name of different) console.log(`  other results: ${name}`);
  console.log(`${names.length - different.length} passed, ${different.length} failed`);
  process.exitCode = different.length === 0 ? 0 : 1;
} finally {
  rmSync(folder, { recursive: true, force: true });
}
