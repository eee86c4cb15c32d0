'use strict';

const fs = require('node:fs');
const path = require('node:path');

const platform = `${process.platform}-${process.arch}`;

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

/** Where binaries may be, best first. No other folder is looked at: what lies there would be run. */
function folders() {
  const chosen = process.env.STILTFORGE_BINARIES;
  if (chosen) return [path.resolve(chosen)];
  const root = repository();
  const prebuilt = path.join(__dirname, 'prebuilds', platform);
  return root === undefined ? [prebuilt] : [path.join(root, 'build', 'Release'), prebuilt];
}

function remedy() {
  if (process.env.STILTFORGE_BINARIES) {
    return (
      'let the variable STILTFORGE_BINARIES name a folder with the binaries for this platform,' +
      ' or unset it'
    );
  }
  return (
    `run "npm run build" in a clone of the repository, which needs ${buildTools()}, and let the` +
    ' variable STILTFORGE_BINARIES name its folder build/Release'
  );
}

function buildTools() {
  const rest = 'CMake, Ninja and the libraries that scripts/setup.sh lists';
  switch (process.platform) {
    case 'darwin':
      return `the Xcode command line tools, ${rest}`;
    case 'win32':
      return (
        `clang of MSYS2 or LLVM-mingw (Visual Studio's compiler lacks extensions that the sources use;` +
        ` no build on Windows was tried yet), a POSIX shell, ${rest}`
      );
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
  for (const folder of folders()) {
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
  const error = new Error(
    `There is no ${name} that Node ${process.versions.node} can load on ${platform}` +
      ` (tried ${tried.join('; ')}): ${remedy()}.`,
  );
  error.code = 'ERR_STILTFORGE_BINARY';
  throw error;
}

module.exports = { loadBinary };
