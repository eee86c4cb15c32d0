// The packages as people get them, on the Node that runs this; `npm run test:nodes` has the others.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { libraries } from '../scripts/libraries/sources.mjs';
import { billOfMaterials } from '../scripts/prebuild/bill_of_materials.mjs';
import { bundledPackages } from '../scripts/prebuild/bundled.mjs';
import { platformPackageName } from '../scripts/prebuild/packages.mjs';
import { addons, targets } from '../scripts/prebuild/targets.mjs';
import { installPackages, ours } from './installed_packages.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const manifest = (place) => JSON.parse(readFileSync(join(place, 'package.json'), 'utf8'));

let installation;
before(
  async () => {
    installation = await installPackages();
  },
  { timeout: 600_000 },
);
after(() => installation?.remove());

test('a package exists for each platform, with both addons and nothing else that runs', () => {
  for (const target of targets) {
    const { files, version } = installation.packed.find(
      ({ name }) => name === platformPackageName(target),
    );
    const names = files.map(({ path }) => path).sort();
    assert.deepEqual(names, ['LICENSE', 'NOTICE', 'README.md', ...addons, 'package.json'].sort());
    assert.equal(version, manifest(join(root, 'packages/stiltforge')).version);
  }
});

test('stiltforge names the packages of all platforms in its own version', () => {
  const { version, optionalDependencies } = manifest(join(installation.made, 'stiltforge'));
  const expected = targets.map((target) => [platformPackageName(target), version]);
  assert.deepEqual(optionalDependencies, Object.fromEntries(expected));
});

test('no package carries tests, sources of TypeScript or what only its makers need', () => {
  for (const { name, files } of installation.packed) {
    for (const { path } of files) {
      assert.doesNotMatch(
        path,
        /(^|\/)(test|src|page)\/|(?<!\.d)\.[cm]?ts$|tsbuildinfo|demo/,
        name,
      );
    }
  }
});

test('packages name the works of others that they carry, with their licences', () => {
  const notice = (name) => readFileSync(join(installation.made, name, 'NOTICE'), 'utf8');
  const native = [
    ...['zlib', 'minizip', 'libdeflate', 'expat', 'Boost', 'fast_float', 'nlohmann-json'],
    ...['libc++', 'node-addon-api'],
  ];
  for (const { name } of targets) {
    for (const part of native) assert.ok(notice(name).includes(`\n${part}`), `${part} in ${name}`);
    assert.equal(notice(name).includes('\nmingw-w64'), name.startsWith('win32'));
  }
  for (const part of ['zlib', 'musl']) {
    assert.ok(notice('stiltforge').includes(`\n${part} `), part);
  }
  assert.ok(notice('viewer').includes('\n@fontsource/roboto '));
});

test('packages name all that their bundlers put into them', async () => {
  for (const name of ['stiltforge', 'viewer']) {
    const notice = readFileSync(join(installation.made, name, 'NOTICE'), 'utf8');
    const parts = await bundledPackages(name);
    assert.ok(parts.length > 0);
    for (const part of parts) assert.ok(notice.includes(`\n${part} `), `${part} in ${name}`);
  }
});

test('the bill of materials lists all that is installed and all that is linked in, once', () => {
  const { made, needed } = installation;
  const found = libraries.map((one) => ({ ...one, package: `lib${one.name}` }));
  const { metadata, components, dependencies } = billOfMaterials(made, needed, found, new Date(0));
  const refs = [metadata.component, ...components].map((one) => one['bom-ref']);
  assert.equal(new Set(refs).size, refs.length);
  const names = components.map(({ name }) => name);
  const expected = [
    ...['stiltforge', 'sharp', 'fflate', 'meshoptimizer', 'three'],
    ...['zlib', 'minizip', 'libdeflate', 'expat', 'boost', 'fast_float', 'nlohmann-json'],
    ...targets.map(platformPackageName),
  ];
  for (const name of expected) assert.ok(names.includes(name), name);
  const { purl } = components.find(({ name }) => name === 'expat');
  const { version } = found.find(({ name }) => name === 'expat');
  assert.equal(purl, `pkg:deb/debian/libexpat@${version}?arch=source`);
  for (const { ref, dependsOn } of dependencies) {
    for (const one of [ref, ...dependsOn]) assert.ok(refs.includes(one), one);
  }
});

test('npm installs the package of this platform alone', () => {
  const scope = readdirSync(join(installation.project, 'node_modules/@stiltforge'));
  assert.deepEqual(scope, [ours.name]);
});

test('the installed packages give the results of the workspace', async () => {
  const { project, installedResults, workspaceResults } = installation;
  const installed = await installedResults(process.execPath);
  const workspace = await workspaceResults(process.execPath);
  const platform = join(project, 'node_modules', platformPackageName(ours));
  assert.deepEqual(installed.binaries.map(dirname), [platform, platform]);
  assert.ok(Object.keys(installed.digests).length > 30);
  assert.deepEqual(installed.digests, workspace.digests);
});

test('the installed command finds the supports of a mesh, writes the report and is whole', async () => {
  const { project, command } = installation;
  const options = ['--height', '8', '--report', '--quiet', '--out', 'supports'];
  await command(process.execPath, 'part.stl', ...options);
  const written = readdirSync(join(project, 'supports'));
  for (const file of ['supports.json', 'points.csv', 'part.png', 'report.html']) {
    assert.ok(written.includes(file), `${file} is not among ${written.join(', ')}`);
  }
  const doctor = await command(process.execPath, 'doctor');
  assert.match(doctor, /All is there\.$/m);
  assert.ok(doctor.includes(join('node_modules', platformPackageName(ours), 'binding.node')));
});
