'use strict';

const fs = require('node:fs');
const path = require('node:path');

const binary = 'stiltforge.node';

/** Where the addon may be, best first: the variable, the prebuilt binary, local builds up the tree. */
function candidates() {
  const chosen = process.env.STILTFORGE_ADDON;
  if (chosen) return [path.resolve(chosen)];
  const files = [path.join(__dirname, 'prebuilds', `${process.platform}-${process.arch}`, binary)];
  for (let folder = __dirname; ; folder = path.dirname(folder)) {
    files.push(path.join(folder, 'build', 'Release', binary));
    if (folder === path.dirname(folder)) return files;
  }
}

function remedy() {
  const build = 'build it from a clone of the repository: npm install && npm run build';
  switch (process.platform) {
    case 'linux':
      return (
        'To get one, ' +
        build +
        ' (needs cmake, ninja, a C++20 compiler and the headers of Boost;' +
        ' on Debian or Ubuntu: apt-get install cmake ninja-build g++ libboost-dev).' +
        ' STILTFORGE_ADDON=<file> names a binary that lies elsewhere.' +
        ' A prebuilt binary that is present but does not load was made for another C library' +
        ' (glibc or musl) or a newer one than this system has.'
      );
    case 'darwin':
      return `To get one, ${build} (needs the Xcode command line tools; brew install cmake ninja boost).`;
    case 'win32':
      return `To get one, ${build} (needs CMake, Ninja, Visual Studio's C++ tools and Boost's headers).`;
    default:
      return `There is no prebuilt binary for this platform; ${build}.`;
  }
}

/** Loads the addon, or throws an Error that lists what was tried and what to do about it. */
function load() {
  const tried = [];
  for (const file of candidates()) {
    if (!fs.existsSync(file)) {
      tried.push(`  ${file}: no such file`);
      continue;
    }
    try {
      return require(file);
    } catch (error) {
      tried.push(`  ${file}: ${error.message}`);
    }
  }
  const error = new Error(
    `No native binary of stiltforge could be loaded for ${process.platform}-${process.arch}` +
      ` (Node ${process.versions.node}). Tried:\n${tried.join('\n')}\n${remedy()}`,
  );
  error.code = 'ERR_STILTFORGE_BINARY';
  throw error;
}

module.exports = { load };
