'use strict';

const fs = require('node:fs');
const path = require('node:path');

const { version } = require('./package.json');

const machine = `${process.platform}-${process.arch}`;

/** Those that a package with binaries exists for, without the C library of Linux. */
const machinesWithPackage = [
  'linux-x64',
  'linux-arm64',
  'win32-x64',
  'win32-arm64',
  'darwin-x64',
  'darwin-arm64',
];

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

/** What Linux runs on: Node's report names the version of glibc where that is it. */
function libraryOfC() {
  const { report } = process;
  if (!report) return 'gnu';
  const { excludeNetwork } = report;
  report.excludeNetwork = true;
  const { header } = report.getReport();
  report.excludeNetwork = excludeNetwork;
  return header.glibcVersionRuntime ? 'gnu' : 'musl';
}

/** The name of the package with this platform's binaries, if there is one. */
function platformPackage() {
  if (!machinesWithPackage.includes(machine)) return undefined;
  const platform = process.platform === 'linux' ? `${machine}-${libraryOfC()}` : machine;
  return `@stiltforge/${platform}`;
}

/** The folder of an installed package of this very version, or why there is none. */
function installed(name) {
  let manifest;
  try {
    manifest = require.resolve(`${name}/package.json`);
  } catch {
    return { reason: `${name}: not installed` };
  }
  const found = JSON.parse(fs.readFileSync(manifest, 'utf8')).version;
  if (found !== version) {
    return { reason: `${name}: its version is ${found}, that of stiltforge ${version}` };
  }
  return { folder: path.dirname(manifest) };
}

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
  const build =
    `run "npm run build" in a clone of the repository, which needs ${buildTools()}, and let the` +
    ' variable STILTFORGE_BINARIES name its folder build/Release';
  const withoutBinary = 'import stiltforge/wasm, which needs none';
  const name = platformPackage();
  if (name === undefined) return `${withoutBinary}, or ${build}`;
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
      tried.push(`${file}: ${String(error.message).trim().replace(/\s+/g, ' ')}`);
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
