// Rules that a release is held to: each function returns a sentence for every fault.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { addons } from './targets.mjs';

/** Packages and the library are released together: they have one version and ask for just that. */
export function versionFaults(manifests, cmakeLists) {
  const [{ version }] = manifests;
  const names = manifests.map(({ name }) => name);
  const faults = manifests
    .filter((manifest) => manifest.version !== version)
    .map((manifest) => `${manifest.name} has the version ${manifest.version}, not ${version}`);
  for (const { name, dependencies = {} } of manifests) {
    for (const needed of names) {
      const wanted = dependencies[needed];
      if (wanted !== undefined && wanted !== version) {
        faults.push(`${name} asks for ${needed} ${wanted}, not ${version}`);
      }
    }
  }
  const [, ofLibrary] = /project\(stiltforge VERSION ([\d.]+)/.exec(cmakeLists) ?? [];
  if (ofLibrary !== version)
    faults.push(`CMakeLists.txt has the version ${ofLibrary}, not ${version}`);
  return faults;
}

/** Every file that a package.json names, in any of its fields. */
function namedFiles({ main, types, bin = {}, exports = {} }) {
  const found = new Set();
  const follow = (value) => {
    if (typeof value === 'string') found.add(value.replace(/^\.\//, ''));
    else if (value !== null && typeof value === 'object') Object.values(value).forEach(follow);
  };
  for (const value of [main, types, bin, exports]) follow(value);
  return [...found];
}

/** What a package promises and does not hold. `packed`: what npm told of it, with its folder. */
export function missingFiles({ name, files, folder }) {
  const manifest = JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));
  const held = new Set(files.map(({ path }) => path));
  const wanted = ['LICENSE', 'README.md', ...namedFiles(manifest)];
  if (manifest.os) wanted.push('NOTICE', ...addons);
  return wanted.filter((path) => !held.has(path)).map((path) => `${name} lacks ${path}`);
}

const forMakers =
  /(^|\/)(test|tests|src|page|node_modules)\/|(?<!\.d)\.[cm]?ts$|\.tsbuildinfo$|\.log$/;

/** What a package holds and should not. */
export function oddFiles({ name, files, folder }) {
  const isPlatform =
    JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8')).os !== undefined;
  return files
    .filter(({ path }) => forMakers.test(path) || (!isPlatform && path.endsWith('.node')))
    .map(({ path }) => `${name} holds ${path}`);
}
