// Compares the digests of the results of one set of stacks.
//   node scripts/digest.mjs                   every compiler, library, processor and code path
//   node scripts/digest.mjs --check PROGRAM...   one build of stiltforge_digest, by the command that runs
//                                             it, against the expected
//   node scripts/digest.mjs --write PROGRAM   makes that build's digests the expected ones
import { execFile, execFileSync } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { availableParallelism, tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { gunzipSync } from 'node:zlib';
import { sideBySide } from './side_by_side.mjs';

const execFileAsync = promisify(execFile);

const root = fileURLToPath(new URL('..', import.meta.url));
const goldenFolder = join(root, 'tests/golden');
const expectedFile = join(root, 'tests/digest/expected.txt');

/** The golden stacks in the plain form that the digest program reads, without JSON and zlib. */
function writeStackFiles(folder) {
  return readdirSync(goldenFolder)
    .filter((name) => name.endsWith('.stack.gz'))
    .sort()
    .map((name) => {
      const bytes = gunzipSync(readFileSync(join(goldenFolder, name)));
      const jsonEnd = 24 + bytes.readUInt32LE(20);
      const parameters = JSON.parse(bytes.toString('utf8', 24, jsonEnd));
      const numbers = {
        ...parameters,
        width: bytes.readUInt32LE(8),
        height: bytes.readUInt32LE(12),
        slices: bytes.readUInt32LE(16),
      };
      const lines = Object.entries(numbers).map(([key, value]) => `${key} ${Number(value)}\n`);
      const file = join(folder, name.replace('.stack.gz', '.txt'));
      writeFileSync(
        file,
        Buffer.concat([Buffer.from(`${lines.join('')}\n`), bytes.subarray(jsonEnd)]),
      );
      return file;
    });
}

async function digestsOf(command, stackFiles, options = []) {
  const [program, ...before] = command;
  const { stdout } = await execFileAsync(program, [...before, ...options, ...stackFiles]);
  return stdout;
}

/** Lines of `actual` that are not as expected, in words; empty when all are. */
function differences(actual, expected) {
  const wanted = new Map(
    expected
      .trim()
      .split('\n')
      .map((line) => line.split(' ')),
  );
  const found = new Map(
    actual
      .trim()
      .split('\n')
      .map((line) => line.split(' ')),
  );
  const lines = [];
  for (const name of new Set([...wanted.keys(), ...found.keys()])) {
    const [is, should] = [found.get(name) ?? 'missing', wanted.get(name) ?? 'not expected'];
    if (is !== should) lines.push(`  ${name}: ${is}, expected ${should}`);
  }
  return lines;
}

function check(label, actual, expected) {
  const lines = differences(actual, expected);
  console.log(`${lines.length === 0 ? 'same     ' : 'DIFFERENT'} ${label}`);
  for (const line of lines) console.log(line);
  return lines.length === 0;
}

function run(program, ...words) {
  execFileSync(program, words, { cwd: root, stdio: ['ignore', 'ignore', 'inherit'] });
}

function build(preset, folder = join('build', preset), ...options) {
  run('cmake', '--preset', preset, ...options);
  run('cmake', '--build', folder, '--target', 'stiltforge_digest');
  return join(root, folder, 'tests/digest/stiltforge_digest');
}

/** That of `npm run build`, which has most of its parts already. */
function buildHere() {
  return build('release', 'build', '-DSTILTFORGE_TESTS=OFF', '-DSTILTFORGE_DIGEST=ON');
}

/** The program in WebAssembly, which Node runs. */
function buildWasm() {
  run('sh', 'scripts/build_wasm.sh');
  return `${build('wasm')}.js`;
}

async function checkAll(expected, stackFiles) {
  const workerCounts = [...new Set([1, 2, 5, availableParallelism()])];
  const builds = [
    { label: 'g++ with libstdc++', command: [buildHere()], workerCounts },
    { label: 'clang++ with libc++', command: [build('libcxx')], workerCounts },
    {
      label: '64-bit Arm, g++, under qemu',
      command: ['qemu-aarch64', build('arm64')],
      workerCounts: [1, 5],
    },
    {
      label: 'WebAssembly, emscripten, in Node',
      command: [process.execPath, buildWasm()],
      // It has one thread.
      workerCounts: [1],
    },
  ];
  const runs = [];
  for (const { label, command, workerCounts } of builds) {
    const list = await digestsOf(command, [], ['--list-variants']);
    for (const variant of list.trim().split('\n')) {
      for (const workers of workerCounts) {
        const path = `${label}, ${variant} code path, ${workers} worker${workers > 1 ? 's' : ''}`;
        runs.push({ path, command, options: [`--variant=${variant}`, `--workers=${workers}`] });
      }
    }
  }
  const same = await sideBySide(runs, async ({ path, command, options }) =>
    check(path, await digestsOf(command, stackFiles, options), expected),
  );
  return same.every(Boolean);
}

const [mode, ...program] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), 'stiltforge-digest-'));
try {
  const stackFiles = writeStackFiles(folder);
  if (mode === '--write') {
    writeFileSync(expectedFile, await digestsOf(program, stackFiles));
  } else {
    const expected = readFileSync(expectedFile, 'utf8');
    const same =
      mode === '--check'
        ? check(program.join(' '), await digestsOf(program, stackFiles), expected)
        : await checkAll(expected, stackFiles);
    if (!same) process.exitCode = 1;
  }
} finally {
  rmSync(folder, { recursive: true });
}
