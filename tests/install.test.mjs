// The libraries as a host gets them: installed into an empty folder, or taken in as sources. Every
// host gets the points and the supports that the command writes.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import {
  cpSync,
  existsSync,
  mkdirSync,
  mkdtempSync,
  readdirSync,
  readFileSync,
  rmSync,
  writeFileSync,
} from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { binaryStl } from '../packages/cli/test/meshes.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const examples = join(root, 'examples');
const folder = mkdtempSync(join(tmpdir(), 'stiltforge-install-'));
const prefix = join(folder, 'installed');
const library = join(prefix, 'lib', 'libstiltforge.so.0');
const mesh = join(folder, 'part.stl');

/** Standard output of a program that has to succeed. */
function run(command, words, { cwd = folder, env = {} } = {}) {
  const options = { cwd, encoding: 'utf8', env: { ...process.env, ...env }, maxBuffer: 1 << 28 };
  const { status, stdout, stderr, error } = spawnSync(command, words, options);
  assert.equal(status, 0, `${command} ${words.join(' ')}: ${error ?? ''}\n${stdout}\n${stderr}`);
  return stdout;
}

function emptyFolder(name) {
  const path = join(folder, name);
  mkdirSync(path, { recursive: true });
  return path;
}

const installed = {
  PKG_CONFIG_PATH: join(prefix, 'lib', 'pkgconfig'),
  CMAKE_PREFIX_PATH: prefix,
  LD_LIBRARY_PATH: join(prefix, 'lib'),
};

const launcher = existsSync('/usr/bin/ccache') ? ['-DCMAKE_CXX_COMPILER_LAUNCHER=ccache'] : [];

/** Builds a CMake project and returns its folder of programs. */
function buildWithCMake(source, name, ...settings) {
  const build = join(folder, name);
  const generator = ['-G', 'Ninja', '-DCMAKE_BUILD_TYPE=Release'];
  run('cmake', ['-S', source, '-B', build, ...generator, ...settings], { env: installed });
  run('cmake', ['--build', build, '--parallel', '2']);
  return build;
}

/** The demo's bunny, 30 mm high, standing as a slicer wants it. */
function bunny() {
  const { positions, cells } = createRequire(import.meta.url)('bunny');
  const heights = positions.map(([, y]) => y);
  const lowest = heights.reduce((a, b) => Math.min(a, b));
  const factor = 30 / (heights.reduce((a, b) => Math.max(a, b)) - lowest);
  const standing = positions.map(([x, y, z]) => [x * factor, -z * factor, y * factor]);
  return binaryStl(cells.map((cell) => cell.map((vertex) => standing[vertex])));
}

/** The corners of a binary STL's triangles, without the normals, which readers make of them. */
function cornersOf(path) {
  const bytes = readFileSync(path);
  const count = bytes.readUInt32LE(80);
  assert.equal(bytes.length, 84 + 50 * count, path);
  const triangles = Array.from({ length: count }, (_, i) => 84 + 50 * i);
  return Buffer.concat(triangles.map((at) => bytes.subarray(at + 12, at + 48)));
}

/** What a host prints, and the geometry that it writes, are the command's. */
function assertIsTheCommands(program, words, cwd, env = {}) {
  const stl = join(cwd, 'supports.stl');
  assert.equal(run(program, [...words, mesh, stl], { cwd, env }), expected);
  assert.ok(cornersOf(stl).equals(cornersOf(join(folder, 'command', 'supports.stl'))));
}

let expected = '';

before(() => {
  const manifest = JSON.parse(readFileSync(join(root, 'packages/cli/package.json'), 'utf8'));
  const command = join(root, 'packages/cli', Object.values(manifest.bin)[0]);
  writeFileSync(mesh, bunny());
  const formats = ['--format', 'csv', '--format', 'stl'];
  run(process.execPath, [
    command,
    mesh,
    ...formats,
    '--no-pictures',
    '--quiet',
    '--out',
    'command',
  ]);
  expected = readFileSync(join(folder, 'command', 'points.csv'), 'utf8');
  run('cmake', ['--install', join(root, 'build'), '--prefix', prefix]);
});

after(() => rmSync(folder, { recursive: true, force: true }));

test('the command finds points to compare with, for several reasons', () => {
  assert.ok(expected.split('\n').length > 15, expected);
  assert.match(expected, /,analysed\n/);
  assert.match(expected, /,merged\n/);
  assert.match(expected, /,addedForOverhang\n/);
  assert.ok(cornersOf(join(folder, 'command', 'supports.stl')).length > 0);
});

test('only what hosts need is installed', () => {
  const lib = readdirSync(join(prefix, 'lib')).sort();
  const names = ['libstiltforge.a', 'libstiltforge.so', 'libstiltforge.so.0'];
  assert.deepEqual(lib, ['cmake', ...names, 'libstiltforge.so.0.1.0', 'pkgconfig']);
  const headers = readdirSync(join(prefix, 'include', 'stiltforge')).sort();
  assert.deepEqual(headers, ['stiltforge.h', 'stiltforge.hpp']);
});

test('the shared library shows the functions of the header and nothing else', () => {
  const shown = run('nm', ['-D', '--defined-only', '--format=posix', library])
    .trim()
    .split('\n')
    .map((line) => line.split(' ')[0].replace(/@.*/, ''));
  const header = readFileSync(join(prefix, 'include/stiltforge/stiltforge.h'), 'utf8');
  const declared = [...header.matchAll(/STILTFORGE_API[^;]*?\b(stiltforge_\w+)\(/g)];
  assert.deepEqual(shown.sort(), declared.map((match) => match[1]).sort());
});

test('the shared library needs nothing but the libraries of C and C++', () => {
  const dynamic = run('readelf', ['-d', library]);
  assert.match(dynamic, /SONAME.*\[libstiltforge\.so\.0\]/);
  const needed = [...dynamic.matchAll(/NEEDED.*\[(.*)\]/g)].map((match) => match[1]);
  for (const name of needed) {
    assert.match(name, /^(libstdc\+\+|libm|libgcc_s|libc|libpthread|ld-linux[-\w]*)\.so/);
  }
});

test('no file that is installed names the folder that it was built in', () => {
  const files = run('find', [prefix, '-type', 'f', '-name', '*.[chpm]*']).trim().split('\n');
  for (const file of files.filter((name) => /\.(cmake|pc|h|hpp)$/.test(name))) {
    assert.ok(!readFileSync(file, 'utf8').includes(root.slice(0, -1)), file);
  }
});

test('a C host by pkg-config', () => {
  const cwd = emptyFolder('c');
  cpSync(join(examples, 'c'), cwd, { recursive: true });
  run('make', ['CFLAGS=-O2 -pedantic -Wall -Wextra -Werror'], { cwd, env: installed });
  assertIsTheCommands(join(cwd, 'points'), [], cwd, installed);
});

test('a C host that carries everything inside, by pkg-config --static', () => {
  const cwd = emptyFolder('c-static');
  const flags = run('pkg-config', ['--static', '--cflags', '--libs', 'stiltforge'], {
    env: installed,
  });
  const source = join(examples, 'c', 'points.c');
  run('cc', ['-static', '-o', 'points', source, ...flags.trim().split(/\s+/)], { cwd });
  assertIsTheCommands(join(cwd, 'points'), [], cwd);
});

test('a C++ host by find_package', () => {
  const build = buildWithCMake(join(examples, 'cpp'), 'cpp');
  assertIsTheCommands(join(build, 'points'), [], build);
});

test('a C++ host whose own flags are careless about floats', () => {
  const hasFma = readFileSync('/proc/cpuinfo', 'utf8').includes(' fma ');
  const flags = `-O3 -ffast-math ${hasFma ? '-mfma' : ''}`;
  const build = buildWithCMake(join(examples, 'cpp'), 'cpp-fast', `-DCMAKE_CXX_FLAGS=${flags}`);
  assertIsTheCommands(join(build, 'points'), [], build);
});

test('a C++ host that links the static library', () => {
  const source = emptyFolder('cpp-static-source');
  const project = readFileSync(join(examples, 'cpp', 'CMakeLists.txt'), 'utf8');
  writeFileSync(
    join(source, 'CMakeLists.txt'),
    project.replace('stiltforge::stiltforge', 'stiltforge::static'),
  );
  cpSync(join(examples, 'cpp', 'points.cpp'), join(source, 'points.cpp'));
  const build = buildWithCMake(source, 'cpp-static');
  assertIsTheCommands(join(build, 'points'), [], build);
  assert.ok(!run('readelf', ['-d', join(build, 'points')]).includes('libstiltforge'));
});

test('a Python host by ctypes', () => {
  const cwd = emptyFolder('python');
  cpSync(join(examples, 'python', 'points.py'), join(cwd, 'points.py'));
  const env = { STILTFORGE_LIBRARY: library, PYTHONPATH: '', PYTHONNOUSERSITE: '1' };
  // -I: nothing but the standard library.
  assertIsTheCommands('python3', ['-I', 'points.py'], cwd, env);
});

test('each example tells in words why a file cannot be read', () => {
  const programs = [
    [join(folder, 'c', 'points'), []],
    [join(folder, 'cpp', 'points'), []],
    ['python3', [join(examples, 'python', 'points.py')]],
  ];
  for (const [program, words] of programs) {
    const env = { ...process.env, ...installed, STILTFORGE_LIBRARY: library };
    const options = { env, encoding: 'utf8' };
    const { status, stdout, stderr } = spawnSync(program, [...words, 'no-such.stl'], options);
    assert.equal(status, 1, stderr);
    assert.equal(stdout, '');
    assert.match(stderr, /^[^\n]*no-such\.stl[^\n]*\n$|^[^\n]*\.\n$/);
  }
});

test('sources taken in by add_subdirectory need no npm and leave the host as it is', () => {
  const source = emptyFolder('subdirectory-source');
  writeFileSync(
    join(source, 'CMakeLists.txt'),
    `cmake_minimum_required(VERSION 3.24)
project(host LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
get_cmake_property(before VARIABLES)
foreach(name \${before})
  set(kept_\${name} "\${\${name}}")
endforeach()
add_subdirectory(${JSON.stringify(root)} stiltforge EXCLUDE_FROM_ALL)
foreach(name \${before})
  if(name MATCHES "^CMAKE_" AND NOT name MATCHES "^CMAKE_MATCH_"
      AND NOT "\${kept_\${name}}" STREQUAL "\${\${name}}")
    message(FATAL_ERROR "\${name} was changed from \${kept_\${name}} to \${\${name}}")
  endif()
endforeach()
foreach(name ZLIB_LIBRARY EXPAT_LIBRARY CCACHE CMAKE_INSTALL_LIBDIR)
  if(DEFINED \${name})
    message(FATAL_ERROR "\${name} was set")
  endif()
endforeach()
foreach(property COMPILE_OPTIONS COMPILE_DEFINITIONS INCLUDE_DIRECTORIES LINK_OPTIONS)
  get_directory_property(value \${property})
  if(value)
    message(FATAL_ERROR "\${property} became \${value}")
  endif()
endforeach()
foreach(target stiltforge_addon binding_addon capi_test)
  if(TARGET \${target})
    message(FATAL_ERROR "\${target} is built")
  endif()
endforeach()
add_executable(points ${JSON.stringify(join(examples, 'cpp', 'points.cpp'))})
target_link_libraries(points PRIVATE stiltforge::static)
`,
  );
  const flags = '-DCMAKE_CXX_FLAGS=-O3 -ffast-math -march=native';
  const build = buildWithCMake(source, 'subdirectory', flags, ...launcher);
  assertIsTheCommands(join(build, 'points'), [], build);
});

const page = readFileSync(join(root, 'docs', 'embedding.md'), 'utf8');
const blocks = [...page.matchAll(/```(\w+)\n(.*?)```/gs)].map(([, language, text]) => ({
  language,
  text,
}));

test('every C, Python and build block of the page stands in an example', () => {
  const sources = {
    c: readFileSync(join(examples, 'c', 'points.c'), 'utf8'),
    make: readFileSync(join(examples, 'c', 'Makefile'), 'utf8'),
    python: readFileSync(join(examples, 'python', 'points.py'), 'utf8'),
    cmake: readFileSync(join(examples, 'cpp', 'CMakeLists.txt'), 'utf8'),
  };
  for (const { language, text } of blocks) {
    if (sources[language] === undefined || text.startsWith('add_subdirectory')) continue;
    assert.ok(sources[language].includes(text), text);
  }
});

test('every C++ block of the page is a program that works', () => {
  const programs = blocks.filter(({ language }) => language === 'cpp');
  assert.equal(programs.length, 4);
  const flags = run('pkg-config', ['--cflags', '--libs', 'stiltforge'], { env: installed });
  programs.forEach(({ text }, i) => {
    const cwd = emptyFolder(`page-${i}`);
    cpSync(mesh, join(cwd, 'part.stl'));
    writeFileSync(join(cwd, 'block.cpp'), text);
    const words = ['-std=c++17', '-Wall', '-Wextra', '-Werror', '-o', 'block', 'block.cpp'];
    run('c++', [...words, ...flags.trim().split(/\s+/)], { cwd });
    assert.notEqual(run(join(cwd, 'block'), [], { cwd, env: installed }), '');
  });
});

test('every language has a block on the page', () => {
  const languages = new Set(blocks.map(({ language }) => language));
  assert.deepEqual([...languages].sort(), ['c', 'cmake', 'cpp', 'make', 'python', 'sh']);
});
