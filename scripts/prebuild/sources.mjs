// The libraries that the addons carry inside, from Debian's packages: sources for what is compiled,
// packages for what is headers only. A checksum holds each to the bytes that were looked at; Debian
// names the checksums of all parts in the description of a source package.
import { createHash } from 'node:crypto';
import {
  existsSync,
  mkdirSync,
  readdirSync,
  readFileSync,
  renameSync,
  rmSync,
  writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { capture, run } from './run.mjs';

/** Compiled: `folder` is where the library's build looks for it. */
export const sourcePackages = [
  {
    name: 'zlib',
    folder: 'zlib',
    version: '1:1.2.13.dfsg-1',
    sha256: '3fa1e6b2fc525062aa88207dda52fed8e045373c809d362fe8a2bfbf7cf515a8',
  },
  {
    name: 'minizip',
    folder: 'minizip',
    version: '1.1-8+deb12u1',
    sha256: '1a518d106083cac24385382a34e0452b5a659919206a147a6f66d85d60adf135',
  },
  {
    name: 'libdeflate',
    folder: 'libdeflate',
    version: '1.14-1',
    sha256: '1f82791c5ac5623ed110e09cc991471deebfe4c419414392d1242e122c6f4c19',
  },
  {
    name: 'expat',
    folder: 'expat',
    version: '2.5.0-1+deb12u2',
    sha256: '6fc87dbd01f49999ed368cfb37c08d35e41348dda2281d60642f3aa14cb77e32',
  },
];

/** Headers only: `folders` of them are used. */
export const headerPackages = [
  {
    name: 'libboost1.74-dev',
    version: '1.74.0+ds1-21',
    folders: ['boost'],
    sha256: 'ba14fe04d7f138f874bd3ab3a20c4fd1e9f654e271449b8f3e48d20f942dbb93',
  },
  {
    name: 'libfast-float-dev',
    version: '3.9.0-1',
    folders: ['fast_float'],
    sha256: '2ec2a50472c2e99e3b5fdc776c2dca645ca760bac24c6624cc2a220db1b7d16d',
  },
  {
    name: 'nlohmann-json3-dev',
    version: '3.11.2-2',
    folders: ['nlohmann'],
    sha256: 'ec57940def6b6186c30be0e0ee81d1e58f86d11a54a145b28686a1e3e4aae801',
  },
];

const withoutEpoch = (version) => version.replace(/^\d+:/, '');

function requireChecksum(file, sha256) {
  const found = createHash('sha256').update(readFileSync(file)).digest('hex');
  if (found !== sha256) {
    throw new Error(
      `${file} has the SHA-256 ${found}, not ${sha256}: it is not the file that was checked`,
    );
  }
}

/** apt's options for lists of its own: with sources, for one processor whatever the machine's is. */
function aptOptions(folder) {
  const state = join(folder, 'apt');
  const list = join(state, 'sources.list');
  mkdirSync(join(state, 'lists/partial'), { recursive: true });
  mkdirSync(join(state, 'archives/partial'), { recursive: true });
  const origins = capture('apt-get', [
    'indextargets',
    '--format',
    '$(REPO_URI) $(CODENAME) $(COMPONENT)',
    'Created-By: Packages',
    'Origin: Debian',
  ]);
  const lines = [...new Set(origins.trim().split('\n'))];
  writeFileSync(list, lines.flatMap((line) => [`deb ${line}\n`, `deb-src ${line}\n`]).join(''));
  const settings = {
    'APT::Architecture': 'amd64',
    'APT::Sandbox::User': '',
    'Dir::Etc::SourceList': list,
    'Dir::Etc::SourceParts': '/dev/null',
    'Dir::State::Lists': join(state, 'lists'),
    'Dir::Cache': state,
  };
  return Object.entries(settings).flatMap(([key, value]) => ['-o', `${key}=${value}`]);
}

/**
 * Makes `folder`/sources with a folder for each library and `folder`/headers/include. Nothing is
 * done for what is there. Needs apt and dpkg-dev.
 */
export function prepareSources(folder) {
  const downloads = join(folder, 'downloads');
  const sources = join(folder, 'sources');
  const headers = join(folder, 'headers');
  mkdirSync(downloads, { recursive: true });
  mkdirSync(sources, { recursive: true });
  mkdirSync(join(headers, 'include'), { recursive: true });
  let apt;
  const fetch = (words) => {
    if (!apt) {
      apt = aptOptions(folder);
      run('apt-get', [...apt, '-qq', 'update']);
    }
    run('apt-get', [...apt, '-qq', ...words], { cwd: downloads });
  };

  for (const { name, folder: target, version, sha256 } of sourcePackages) {
    const unpacked = join(sources, target);
    const stamp = join(unpacked, '.version');
    if (existsSync(stamp) && readFileSync(stamp, 'utf8') === version) continue;
    const description = join(downloads, `${name}_${withoutEpoch(version)}.dsc`);
    if (!existsSync(description)) fetch(['source', '--download-only', `${name}=${version}`]);
    requireChecksum(description, sha256);
    rmSync(unpacked, { recursive: true, force: true });
    // Compares every part with the description's checksums, then applies Debian's patches.
    run('dpkg-source', ['-x', description, unpacked]);
    writeFileSync(stamp, version);
  }

  for (const { name, folders, version, sha256 } of headerPackages) {
    const stamp = join(headers, `.${name}`);
    if (existsSync(stamp) && readFileSync(stamp, 'utf8') === version) continue;
    const isIt = (file) => file.startsWith(`${name}_`) && file.endsWith('.deb');
    if (!readdirSync(downloads).some(isIt)) fetch(['download', `${name}=${version}`]);
    const file = join(downloads, readdirSync(downloads).find(isIt));
    requireChecksum(file, sha256);
    const unpacked = join(folder, 'unpacked');
    rmSync(unpacked, { recursive: true, force: true });
    run('dpkg-deb', ['-x', file, unpacked]);
    for (const part of folders) {
      const place = join(headers, 'include', part);
      rmSync(place, { recursive: true, force: true });
      renameSync(join(unpacked, 'usr/include', part), place);
    }
    renameSync(
      join(unpacked, 'usr/share/doc', name, 'copyright'),
      join(headers, `${name}.copyright`),
    );
    rmSync(unpacked, { recursive: true });
    writeFileSync(stamp, version);
  }
  return { sources, headers };
}
