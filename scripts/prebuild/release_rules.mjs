// Rules that a release is held to: each function returns a sentence for every fault.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { isDeepStrictEqual } from 'node:util';
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

/** What CHANGELOG.md lacks of a release: a section of its version, and nothing left unreleased. */
export function changelogFaults(changelog, version) {
  const headings = [...changelog.matchAll(/^## \[?([\w.]+)/gm)].map(([, name]) => name);
  const faults = [];
  if (headings.includes('Unreleased')) {
    faults.push(`there is a section "Unreleased": give it the heading "## ${version}"`);
  } else if (!headings.includes(version)) {
    faults.push(`there is no heading "## ${version}"`);
  }
  return faults;
}

/**
 * What a target's binaries lack of a release. `record`: what prebuild kept of them, undefined where it
 * built none; `now`: the digest of the `sources` and the `libraries` of this release.
 */
export function recordFaults(record, now) {
  if (record === undefined) return ['not built: npm run prebuild -- --test --twice'];
  const faults = [...record.faults];
  if (record.sources !== now.sources) {
    faults.push(`built from other sources (${record.sources}, not ${now.sources})`);
  }
  if (!isDeepStrictEqual(record.libraries, now.libraries)) {
    faults.push('other revisions of libraries are inside');
  }
  if (record.runs === undefined) faults.push('not run: npm run prebuild -- --test --twice');
  for (const { label, same } of record.runs ?? []) {
    if (!same) faults.push(`other results: ${label}`);
  }
  if (record.sameAgain === undefined) {
    faults.push('not built twice: npm run prebuild -- --test --twice');
  } else if (!record.sameAgain) {
    faults.push('other bytes when built elsewhere');
  }
  return faults;
}
