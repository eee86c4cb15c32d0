// Checks the format and the code of every C++ file.
//   node scripts/lint_cpp.mjs           clang-format and clang-tidy, nothing is changed
//   node scripts/lint_cpp.mjs --fix     formats the files in place, no clang-tidy
//   node scripts/lint_cpp.mjs FILE...   these files only

import { execFileSync, spawnSync } from 'node:child_process';
import { availableParallelism } from 'node:os';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { clangTidy } from './clang_tidy.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const database = `${root}build/lint`;

const { values, positionals } = parseArgs({
  options: { fix: { type: 'boolean' } },
  allowPositionals: true,
});

function trackedFiles() {
  const names = ['*.c', '*.cpp', '*.h', '*.hpp'];
  const listed = ['ls-files', '--cached', '--others', '--exclude-standard', ...names];
  return execFileSync('git', listed, { cwd: root, encoding: 'utf8' }).trim().split('\n');
}

const files = positionals.length > 0 ? positionals : trackedFiles();

function format() {
  const mode = values.fix ? ['-i'] : ['--dry-run', '-Werror'];
  return (
    spawnSync('clang-format', [...mode, ...files], { cwd: root, stdio: 'inherit' }).status === 0
  );
}

/** Writes the commands that compile every file of every target. */
function configure() {
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
}

/** Headers are checked with the files that include them. */
async function tidy() {
  configure();
  const jobs = availableParallelism();
  const { unchanged, checked, findings, commandless } = await clangTidy({
    ...{ root, database, jobs },
    files: files.filter((file) => !/\.h(pp)?$/.test(file)),
  });
  for (const finding of findings) console.log(finding);
  for (const file of commandless) console.log(`clang-tidy: ${file} is not part of any target here`);
  console.log(
    `clang-tidy: ${checked} files checked, ${findings.length} of them not clean; ` +
      `${unchanged} unchanged since they were found clean`,
  );
  return findings.length === 0;
}

const formatted = format();
if (!formatted) console.error('Some files are not formatted: npm run format');
const tidied = values.fix || (await tidy());
process.exit(formatted && tidied ? 0 : 1);
