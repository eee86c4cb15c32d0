// Makes the packages as they are published: one with the binaries of each platform, and the workspace's
// own, of which `stiltforge` then names the others as optional dependencies.
//
// They are named here and not in the workspace, because an `npm ci` there must not ask for packages that
// its own release has yet to publish, and its lock file could not list them.
import {
  copyFileSync,
  cpSync,
  existsSync,
  mkdirSync,
  readFileSync,
  rmSync,
  writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { capture } from '../run.mjs';
import { bundledIn, noticeOf } from './notice.mjs';
import { addons, targets } from './targets.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));
export const workspacePackages = ['stiltforge', 'viewer', 'cli'];

const manifestOf = (folder) => JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));

export const platformPackageName = ({ name }) => `@stiltforge/${name}`;

const systems = { linux: 'Linux', win32: 'Windows', darwin: 'macOS' };
const processors = { x64: 'x86-64', arm64: '64-bit Arm' };

function systemOf({ os, cpu, libc, triple }) {
  const [, oldest] = /-(?:gnu|macos)\.?([\d.]+)$/.exec(triple) ?? [];
  const detail = { glibc: ` with glibc ${oldest} or newer`, musl: ' with musl' }[libc];
  const version = os === 'darwin' ? ` ${oldest.replace(/\.0$/, '')} or newer` : '';
  return `${systems[os]}${version}${detail ?? ''} on ${processors[cpu]}`;
}

function writeJson(file, value) {
  writeFileSync(file, `${JSON.stringify(value, null, 2)}\n`);
}

/** The package of a platform: both addons from `binaries`, and nothing else that runs. */
export function writePlatformPackage(target, binaries, folder) {
  const { version, license, engines } = manifestOf(join(root, 'packages/stiltforge'));
  mkdirSync(folder, { recursive: true });
  for (const addon of addons) copyFileSync(join(binaries, addon), join(folder, addon));
  writeJson(join(folder, 'package.json'), {
    name: platformPackageName(target),
    version,
    description: `The binaries of stiltforge for ${systemOf(target)}`,
    license,
    engines,
    os: [target.os],
    cpu: [target.cpu],
    ...(target.libc ? { libc: [target.libc] } : {}),
    preferUnplugged: true,
    files: [...addons, 'NOTICE'],
  });
  writeFileSync(
    join(folder, 'NOTICE'),
    noticeOf(platformPackageName(target), bundledIn('', target)),
  );
  writeFileSync(
    join(folder, 'README.md'),
    `# ${platformPackageName(target)}\n\nThe binaries of \`stiltforge\` for ${systemOf(target)}. ` +
      'Install `stiltforge`: it brings the one for your platform.\n',
  );
  copyFileSync(join(root, 'LICENSE'), join(folder, 'LICENSE'));
}

/** A package of the workspace, with what it leaves to be published. */
export function writeWorkspacePackage(name, folder) {
  const source = join(root, 'packages', name);
  const manifest = manifestOf(source);
  mkdirSync(folder, { recursive: true });
  for (const entry of [
    ...manifest.files.filter((one) => !one.startsWith('!')),
    'README.md',
    'LICENSE',
  ]) {
    if (!existsSync(join(source, entry))) {
      throw new Error(`packages/${name}/${entry} is missing: run "npm run build" first`);
    }
    cpSync(join(source, entry), join(folder, entry), { recursive: true });
  }
  const notice = noticeOf(manifest.name, bundledIn(name));
  if (notice) {
    writeFileSync(join(folder, 'NOTICE'), notice);
    manifest.files.push('NOTICE');
  }
  delete manifest.devDependencies;
  delete manifest.scripts;
  if (manifest.name === 'stiltforge') {
    manifest.optionalDependencies = Object.fromEntries(
      targets.map((target) => [platformPackageName(target), manifest.version]),
    );
  }
  writeJson(join(folder, 'package.json'), manifest);
}

/**
 * Writes the packages into `folder` and packs them into its folder `tarballs`. `binaries` has the folder
 * with the addons for the name of each target that is to have a package. Returns what npm tells of each
 * (name, version, filename, size, files) and its folder.
 */
export function makePackages(binaries, folder) {
  rmSync(folder, { recursive: true, force: true });
  const made = [];
  for (const target of targets) {
    if (!Object.hasOwn(binaries, target.name)) continue;
    const place = join(folder, target.name);
    writePlatformPackage(target, binaries[target.name], place);
    made.push(place);
  }
  for (const name of workspacePackages) {
    const place = join(folder, name);
    writeWorkspacePackage(name, place);
    made.push(place);
  }
  return pack(made, join(folder, 'tarballs'));
}

/** Packs folders of packages into `tarballs`; adds its `folder` to what npm tells of each. */
export function pack(folders, tarballs) {
  mkdirSync(tarballs, { recursive: true });
  const words = ['pack', '--json', '--ignore-scripts', '--pack-destination', tarballs, ...folders];
  const told = Object.values(JSON.parse(capture('npm', words)));
  return told.map((one, i) => ({ ...one, folder: folders[i] }));
}
