'use strict';

const fs = require('node:fs');
const path = require('node:path');

const { version } = require('./package.json');

const machine = `${process.platform}-${process.arch}`;

/** What there are packages with binaries for. */
const platforms = [
  'linux-x64-gnu',
  'linux-arm64-gnu',
  'linux-x64-musl',
  'linux-arm64-musl',
  'win32-x64',
  'win32-arm64',
  'darwin-x64',
  'darwin-arm64',
];
const oldestGlibc = '2.28';
const oldestNode = '20';

/** The root of the repository when this file lies in a clone of it, not in an installed package. */
function repository() {
  const folder = fs.realpathSync(__dirname);
  const root = path.resolve(folder, '..', '..');
  if (folder !== path.join(root, 'packages', 'stiltforge')) return undefined;
  try {
    const { name } = JSON.parse(fs.readFileSync(path.join(root, 'package.json'), 'utf8'));
    return name === 'stiltforge-workspace' ? root : undefined;
  } catch {
    return undefined;
  }
}

/** The version of glibc that Linux runs on, as Node's report has it; undefined where it is another library. */
function glibcVersion() {
  const { report } = process;
  const { excludeNetwork } = report;
  report.excludeNetwork = true;
  const { header } = report.getReport();
  report.excludeNetwork = excludeNetwork;
  return header.glibcVersionRuntime;
}

/** The name of the package with this platform's binaries, if there is one. */
function platformPackage() {
  const isGlibc = !process.report || glibcVersion() !== undefined;
  const platform =
    process.platform === 'linux' ? `${machine}-${isGlibc ? 'gnu' : 'musl'}` : machine;
  return platforms.includes(platform) ? `@stiltforge/${platform}` : undefined;
}

/** What an installed package's package.json says, or why it can't be read; undefined where there is none. */
function manifestOf(name) {
  let file;
  try {
    file = require.resolve(`${name}/package.json`);
    return { file, version: JSON.parse(fs.readFileSync(file, 'utf8')).version };
  } catch (error) {
    if (error.code === 'MODULE_NOT_FOUND') return undefined;
    return { reason: `${file ?? name}: ${oneLine(error.message)}` };
  }
}

/** The folder of an installed package of this very version, or why there is none. */
function installed(name) {
  const manifest = manifestOf(name);
  if (manifest === undefined) {
    const others = platforms.map((platform) => `@stiltforge/${platform}`).filter(manifestOf);
    if (others.length === 0) return { reason: `${name}: not installed` };
    return { reason: `${name}: not installed, but ${others.join(' and ')} for another platform` };
  }
  const { file, version: found, reason } = manifest;
  if (reason !== undefined) return { reason };
  if (found !== version) {
    return { reason: `${name}: its version is ${found}, that of stiltforge ${version}` };
  }
  return { folder: path.dirname(file) };
}

const oneLine = (text) => text.trim().replace(/\s+/g, ' ');

const isOlder = (one, other) => {
  const [a, b] = [one, other].map((text) => text.split('.').map(Number));
  return a[0] < b[0] || (a[0] === b[0] && (a[1] ?? 0) < (b[1] ?? 0));
};

/**
 * Where binaries may be, best first: { folder } or the reason why not there. A clone's own build comes
 * before an installed package: who changes the sources means to run them. No other folder is looked at:
 * what lies there would be run.
 */
function* places() {
  const chosen = process.env.STILTFORGE_BINARIES;
  if (chosen) {
    yield { folder: path.resolve(chosen) };
    return;
  }
  const root = repository();
  if (root !== undefined) yield { folder: path.join(root, 'build', 'Release') };
  const name = platformPackage();
  if (name !== undefined) yield installed(name);
}

function remedy() {
  if (process.env.STILTFORGE_BINARIES) {
    return (
      'let the variable STILTFORGE_BINARIES name a folder with the binaries for this platform,' +
      ' or unset it'
    );
  }
  if (isOlder(process.versions.node, oldestNode)) return `run it on Node ${oldestNode} or newer`;
  const withoutBinary = 'import stiltforge/wasm, which needs none';
  const root = repository();
  if (root !== undefined) {
    return `run "npm run build" in ${root}, which needs ${buildTools()}, or ${withoutBinary}`;
  }
  const build =
    `run "npm run build" in a clone of the repository, which needs ${buildTools()}, and let the` +
    ' variable STILTFORGE_BINARIES name its folder build/Release';
  const name = platformPackage();
  if (name === undefined) return `${withoutBinary}, or ${build}`;
  const glibc = name.endsWith('-gnu') && process.report ? glibcVersion() : undefined;
  if (glibc !== undefined && isOlder(glibc, oldestGlibc)) {
    return (
      `the binaries need glibc ${oldestGlibc} or newer and this system has ${glibc}, so` +
      ` ${withoutBinary}, or ${build}`
    );
  }
  if (manifestOf(name) !== undefined) {
    return `install ${name}@${version} anew, as npm does beside stiltforge, ${withoutBinary}, or ${build}`;
  }
  return (
    `install ${name}@${version} (npm does it beside stiltforge, unless optional packages are left out` +
    ` or the lock file was written for other platforms), ${withoutBinary}, or ${build}`
  );
}

function buildTools() {
  const rest = 'CMake, Ninja and the libraries that scripts/setup.sh lists';
  switch (process.platform) {
    case 'darwin':
      return `the Xcode command line tools, ${rest}`;
    case 'win32':
      return `clang of MSYS2 or LLVM-mingw, a POSIX shell, ${rest}`;
    default:
      return `g++ 12 or clang 14 or newer, ${rest}`;
  }
}

/**
 * Loads a native binary of stiltforge, 'stiltforge.node' or 'binding.node', and returns its exports.
 * Throws an Error with code ERR_STILTFORGE_BINARY, whose one sentence says what was tried and what to do.
 */
function loadBinary(name) {
  const tried = [];
  for (const { folder, reason } of places()) {
    if (reason !== undefined) {
      tried.push(reason);
      continue;
    }
    const file = path.join(folder, name);
    if (!fs.existsSync(file)) {
      tried.push(`${file}: no such file`);
      continue;
    }
    try {
      return require(file);
    } catch (error) {
      // Linux begins with the file, other systems don't name it.
      const reason = oneLine(String(error.message));
      tried.push(reason.startsWith(file) ? reason : `${file}: ${reason}`);
    }
  }
  const attempts =
    tried.length > 0 ? `tried ${tried.join('; ')}` : 'there is no package with binaries for it';
  const error = new Error(
    `There is no ${name} that Node ${process.versions.node} can load on ${machine}` +
      ` (${attempts}): ${remedy()}.`,
  );
  error.code = 'ERR_STILTFORGE_BINARY';
  throw error;
}

module.exports = { loadBinary };
