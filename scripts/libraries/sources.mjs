// The libraries that the readers of files need, for systems that Debian has no binaries of: sources of
// what is compiled, from the repositories of Debian that this machine has its packages from, and links
// to the headers of those that are headers only. Nothing is done for what is there.
//   node scripts/libraries/sources.mjs      needs apt and dpkg-dev, and no root
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import {
  existsSync,
  mkdirSync,
  readdirSync,
  readFileSync,
  renameSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { capture, run } from '../run.mjs';
import { aptOptions } from './apt.mjs';

/**
 * What a release carries: `version` is that of the library's makers, `sha256` that of their sources as
 * Debian has them. Debian's own revisions, which mend faults, may be any.
 */
export const libraries = [
  {
    name: 'zlib',
    version: '1.2.13',
    sha256: '71feb7947e3c00ef125f83b79a4e529bde31171e5babe48b391f06758d1ab0a1',
  },
  {
    name: 'minizip',
    version: '1.1',
    sha256: '7d8da446d3b6799e7851f077a66551a46b80fc3de708549e79dbd3e49e842ba1',
  },
  {
    name: 'libdeflate',
    version: '1.14',
    sha256: '89e7df898c37c3427b0f39aadcf733731321a278771d20fc553f92da8d4808ac',
  },
  {
    name: 'expat',
    version: '2.5.0',
    sha256: 'ab00ee05c7067fd10a35c5d2a4922ebba746ddd50ff83b79c828da17bbdf1757',
  },
  { name: 'boost', version: '1.74.0', headers: 'boost', header: 'version.hpp' },
  { name: 'fast_float', version: '3.9.0', headers: 'fast_float', header: 'fast_float.h' },
  { name: 'nlohmann-json', version: '3.11.2', headers: 'nlohmann', header: 'json.hpp' },
];

const sourcesFolder = fileURLToPath(new URL('../../build/libraries', import.meta.url));

/** What the makers of a library call the version that a package of Debian has. */
export function makersVersion(version) {
  return version
    .replace(/^\d+:/, '')
    .replace(/-[^-]*$/, '')
    .replace(/[.+](dfsg|ds)\d*$/, '');
}

/** Why no release can be made of what was found: a sentence for each library. */
export function libraryFaults(found) {
  const faults = [];
  for (const { name, version, sha256 } of libraries) {
    const one = found.find((library) => library.name === name);
    const file = 'scripts/libraries/sources.mjs';
    if (makersVersion(one.version) !== version) {
      faults.push(
        `${name} has the version ${one.version} in the repositories of this machine, and a release` +
          ` carries ${version}: make it on the release of Debian that has that one, or look at the` +
          ` new one and its licence and change ${file}`,
      );
    } else if (one.sha256 !== sha256) {
      faults.push(
        `the sources of ${name} ${one.version} have the SHA-256 ${one.sha256}, not ${sha256}: they` +
          ` are not those that were looked at; remove build/libraries, or change ${file}`,
      );
    }
  }
  return faults;
}

const isNewer = (version, other) =>
  spawnSync('dpkg', ['--compare-versions', version, 'gt', other]).status === 0;

const newestFirst = (versions) => versions.toSorted((a, b) => (isNewer(a, b) ? -1 : 1));

/** A function that makes a folder with the newest sources of a package that can be had. */
function downloader(folder) {
  let apt;
  const failures = [];
  const attempt = (program, words, options) => {
    try {
      return capture(program, [...apt, ...words], options);
    } catch (error) {
      failures.push(error.message);
      return undefined;
    }
  };
  return (name, place) => {
    if (!apt) {
      apt = aptOptions(join(folder, 'apt'), 'deb-src');
      // Of several repositories one may have no sources; the others still may.
      attempt('apt-get', ['-qq', 'update']);
    }
    const known = attempt('apt-cache', ['madison', name]) ?? '';
    const versions = known.split('\n').map((line) => line.split('|')[1]?.trim());
    for (const version of newestFirst([...new Set(versions)].filter(Boolean))) {
      // A mirror may name a version that it doesn't have, or not in whole, in the days of an update.
      rmSync(place, { recursive: true, force: true });
      mkdirSync(place, { recursive: true });
      const words = ['-qq', 'source', '--download-only', '--only-source', `${name}=${version}`];
      if (attempt('apt-get', words, { cwd: place }) !== undefined) return;
      console.log(`libraries: ${name} ${version} could not be had`);
    }
    throw new Error(
      `the sources of ${name} could not be had from the repositories of Debian that this machine has` +
        ` its packages from:\n${failures.join('\n')}`,
    );
  };
}

/** Downloads and unpacks a library into `place`, and writes what its sources are into the file `told`. */
function unpack(name, { place, told }, download) {
  const part = `${place}.part`;
  download(name, part);
  const files = readdirSync(part);
  const fileOf = (kind) =>
    join(
      part,
      files.find((file) => kind.test(file)),
    );
  const description = fileOf(/\.dsc$/);
  const [, version] = /^Version: (\S+)$/m.exec(readFileSync(description, 'utf8'));
  const original = readFileSync(fileOf(/\.orig\.tar\.\w+$/));
  const sha256 = createHash('sha256').update(original).digest('hex');
  // What apt has compared with its signed lists needs no second signature. Applies Debian's patches.
  run('dpkg-source', ['--no-check', '-x', description, join(part, 'sources')]);
  writeFileSync(told, JSON.stringify({ version, sha256 }));
  renameSync(join(part, 'sources'), place);
  rmSync(part, { recursive: true });
}

/** The installed package that a header is of, and its version; fails where there is none. */
function headerPackage({ name, headers, header }) {
  const file = join('/usr/include', headers, header);
  try {
    const [owner] = capture('dpkg-query', ['--search', file]).split(': ');
    const format = `\${Package} \${Version}`;
    const shown = capture('dpkg-query', ['--show', '--showformat', format, owner]);
    const [packageName, version] = shown.split(' ');
    return { package: packageName, version };
  } catch {
    throw new Error(`${file} of ${name} is missing: run "sh scripts/setup.sh prebuild"`);
  }
}

/**
 * Sees to it that all libraries are there. Returns the folder of their `sources`, each in one of its name,
 * the `prefix` whose include/ has the headers, and as `found` what each is: its name, Debian's package and
 * version, and the SHA-256 of sources.
 */
export function prepareLibraries(folder = sourcesFolder) {
  const sources = join(folder, 'sources');
  const prefix = join(folder, 'headers');
  mkdirSync(sources, { recursive: true });
  mkdirSync(join(prefix, 'include'), { recursive: true });
  const download = downloader(folder);
  const found = libraries.map((library) => {
    const { name, headers } = library;
    if (headers === undefined) {
      const place = join(sources, name);
      const told = join(folder, `${name}.json`);
      if (!existsSync(place)) unpack(name, { place, told }, download);
      return { name, package: name, ...JSON.parse(readFileSync(told, 'utf8')) };
    }
    const link = join(prefix, 'include', headers);
    if (!existsSync(link)) symlinkSync(join('/usr/include', headers), link);
    return { name, ...headerPackage(library) };
  });
  return { sources, prefix, found };
}

if (process.argv[1] && resolve(process.argv[1]) === fileURLToPath(import.meta.url)) {
  try {
    prepareLibraries();
  } catch (error) {
    console.error(`libraries: ${error.message}`);
    process.exit(1);
  }
}
