// Runs the tests under the address, undefined behaviour, leak and thread sanitizers.

import { execFileSync, spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { readdirSync, readFileSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { sideBySide } from './side_by_side.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const jobs = String(availableParallelism());
const parts = {
  asan: 'C++ tests under the address, undefined behaviour and leak sanitizers',
  tsan: 'C++ tests under the thread sanitizer',
  node: 'JavaScript tests and random calls against binaries built with the address sanitizer',
  'node-tsan': 'the same against binaries built with the thread sanitizer',
};

const { values, positionals } = parseArgs({
  options: { help: { type: 'boolean' } },
  allowPositionals: true,
});
if (values.help) {
  console.log(`usage: npm run test:sanitize [-- PART...]
Builds into build/asan and build/tsan and runs, by default all of:
${Object.entries(parts)
  .map(([name, text]) => `  ${name}  ${text}`)
  .join('\n')}
The thread sanitizer takes an hour and more on 2 cores, the others under 20 minutes. Leaks are looked
for in the C++ tests alone: Node keeps much of its own memory until the process ends, and a leak of an
addon could not be told from it.`);
  process.exit(0);
}
const wanted = positionals.length > 0 ? positionals : Object.keys(parts);
const unknown = wanted.find((part) => !(part in parts));
if (unknown !== undefined) {
  console.error(`sanitize: unknown part "${unknown}": use ${Object.keys(parts).join(', ')}`);
  process.exit(2);
}

const tsanOptions = `second_deadlock_stack=1 suppressions=${root}tests/tsan.supp`;
const failed = [];
const startedAt = Date.now();

function run(env, command, ...args) {
  const { status } = spawnSync(command, args, {
    cwd: root,
    stdio: 'inherit',
    env: { ...process.env, ...env },
  });
  return status === 0;
}

function build(preset, ...targets) {
  const built =
    run({}, 'cmake', '--preset', preset) &&
    run({}, 'cmake', '--build', `build/${preset}`, '--parallel', jobs, '--target', ...targets);
  if (!built) process.exit(1);
}

/** Runs a program and prints what it said when it has ended. */
async function runQuietly(env, program, ...words) {
  const child = spawn(program, words, { cwd: root, env: { ...process.env, ...env } });
  const said = [];
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (piece) => said.push(piece));
  const [status] = await once(child, 'close');
  process.stdout.write(Buffer.concat(said));
  return status === 0;
}

/**
 * The GoogleTest programs as a whole: a process for every test would spend its time on starting. As many
 * at once as there are cores.
 */
async function runCppTests(preset) {
  build(preset, 'test_programs');
  const env = {
    ASAN_OPTIONS: 'detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1',
    UBSAN_OPTIONS: 'print_stacktrace=1',
    TSAN_OPTIONS: tsanOptions,
    STILTFORGE_STACKS: '400',
  };
  const programs = readFileSync(`${root}build/${preset}/test_programs.txt`, 'utf8')
    .trim()
    .split('\n');
  const passed = await sideBySide(programs, async (program) => {
    const hasPassed = await runQuietly(env, program, '--gtest_brief=1');
    if (!hasPassed) console.error(`sanitize: ${program} failed`);
    return hasPassed;
  });
  return passed.every(Boolean);
}

/** Where a compiler keeps a library, or what else it tells of itself. */
function ask(compiler, option) {
  return execFileSync(compiler, [option], { encoding: 'utf8' }).trim();
}

/** A sanitizer's runtime must come first in the process; it looks up libstdc++ at its start. */
function preloaded(compiler, runtime) {
  return [runtime, 'libstdc++.so.6']
    .map((name) => ask(compiler, `-print-file-name=${name}`))
    .join(' ');
}

function asanEnvironment() {
  const [processor] = ask('clang++', '-dumpmachine').split('-');
  return {
    LD_PRELOAD: preloaded('clang++', `libclang_rt.asan-${processor}.so`),
    ASAN_OPTIONS: 'detect_leaks=0:quarantine_size_mb=8',
    UBSAN_OPTIONS: 'print_stacktrace=1',
  };
}

function tsanEnvironment() {
  return {
    LD_PRELOAD: preloaded('g++', 'libtsan.so'),
    // Node itself hands memory on in ways that the sanitizer, which does not see into it, can't follow.
    TSAN_OPTIONS: `${tsanOptions} ignore_noninstrumented_modules=1`,
    STILTFORGE_SLOWNESS: '10',
  };
}

function runJavaScriptTests(preset, sanitizer, leftOut) {
  build(preset, 'stiltforge_addon', 'binding_addon');
  const env = { STILTFORGE_BINARIES: `${root}build/${preset}/Release`, ...sanitizer };
  const files = ['packages/stiltforge/test', 'tests/binding'].flatMap((folder) =>
    readdirSync(root + folder)
      .filter((name) => name.endsWith('.test.mjs') && !leftOut.test(name))
      .map((name) => `${folder}/${name}`),
  );
  return [
    () => run(env, process.execPath, '--test', `--test-concurrency=${jobs}`, ...files),
    () => run(env, process.execPath, 'fuzz/protocol.mjs', '--seconds', '30'),
  ].every((step) => step());
}

const runners = {
  asan: () => runCppTests('asan'),
  tsan: () => runCppTests('tsan'),
  node: () => runJavaScriptTests('asan', asanEnvironment(), /wasm/),
  // The thread sanitizer takes much memory of its own, and ends a process where it runs out.
  'node-tsan': () => runJavaScriptTests('tsan', tsanEnvironment(), /wasm|^\d+\.memory/),
};
for (const part of wanted) {
  console.log(`== ${parts[part]}`);
  if (!(await runners[part]())) failed.push(part);
}
const minutes = ((Date.now() - startedAt) / 60000).toFixed(1);
console.log(
  failed.length === 0 ? `clean after ${minutes} minutes` : `failures in: ${failed.join(', ')}`,
);
process.exit(failed.length === 0 ? 0 : 1);
