// Checks the format and the code of every C++ file.
//   node scripts/lint_cpp.mjs           clang-format and clang-tidy, nothing is changed
//   node scripts/lint_cpp.mjs --fix     formats the files in place, no clang-tidy
//   node scripts/lint_cpp.mjs FILE...   these files only

import { execFile, execFileSync, spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { relative } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs, promisify } from 'node:util';

const root = fileURLToPath(new URL('..', import.meta.url));
const database = `${root}build/lint`;

const { values, positionals } = parseArgs({
  options: { fix: { type: 'boolean' } },
  allowPositionals: true,
});

function trackedFiles() {
  const listed = ['ls-files', '--cached', '--others', '--exclude-standard', '*.cpp', '*.h'];
  return execFileSync('git', listed, { cwd: root, encoding: 'utf8' }).trim().split('\n');
}

const files = positionals.length > 0 ? positionals : trackedFiles();

function format() {
  const mode = values.fix ? ['-i'] : ['--dry-run', '-Werror'];
  return (
    spawnSync('clang-format', [...mode, ...files], { cwd: root, stdio: 'inherit' }).status === 0
  );
}

/** The files that some target compiles; headers are checked with the files that include them. */
function compiledFiles() {
  const hasBenchmark = spawnSync('pkg-config', ['--exists', 'benchmark']).status === 0;
  const configured = spawnSync(
    'cmake',
    [
      ...['--preset', 'release', '-B', database],
      ...['-DSTILTFORGE_TESTS=ON', '-DSTILTFORGE_FUZZ=ON'],
      `-DSTILTFORGE_BENCH=${hasBenchmark ? 'ON' : 'OFF'}`,
    ],
    { cwd: root, encoding: 'utf8' },
  );
  if (configured.status !== 0) {
    console.error(configured.stdout + configured.stderr);
    process.exit(1);
  }
  const commands = JSON.parse(readFileSync(`${database}/compile_commands.json`, 'utf8'));
  const compiled = new Set(commands.map(({ file }) => relative(root, file)));
  return files.filter((file) => compiled.has(file));
}

async function tidy() {
  const queue = compiledFiles();
  let clean = true;
  const worker = async () => {
    for (let file = queue.shift(); file; file = queue.shift()) {
      try {
        await promisify(execFile)('clang-tidy', ['-p', database, '--quiet', file], { cwd: root });
      } catch (error) {
        clean = false;
        console.log(error.stdout || error.message);
      }
    }
  };
  await Promise.all(Array.from({ length: availableParallelism() }, worker));
  return clean;
}

const formatted = format();
if (!formatted) console.error('Some files are not formatted: npm run format');
const tidied = values.fix || (await tidy());
process.exit(formatted && tidied ? 0 : 1);
