// Builds and runs every fuzz target, two at a time, each for the given time.
//
//   npm run fuzz -- --minutes 15        each target for a quarter of an hour
//   npm run fuzz -- --seconds 60        a smoke run
//   npm run fuzz -- --only analysis     one target
//   npm run fuzz -- --seed 7            starts all generators from this number
//
// What libFuzzer learns stays in build/fuzz/corpus and starts the next run; fuzz/seeds is never
// written to. Findings go to build/fuzz/findings. Exits with 1 when there is one.

import { spawn, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { sideBySide } from '../scripts/side_by_side.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const buildFolder = `${root}build/asan`;
const workFolder = `${root}build/fuzz`;
const libFuzzerTargets = [
  ...['analysis', 'byte_pairs', 'candidate_sort', 'slicer', 'capi'],
  ...['stl', 'obj', 'ply', '3mf'],
  ...['goo', 'png', 'print'],
];
const scripts = ['protocol'];
const memoryLimitMb = 2048;
const secondsPerInput = 60;

const { values } = parseArgs({
  options: {
    minutes: { type: 'string' },
    seconds: { type: 'string' },
    only: { type: 'string' },
    seed: { type: 'string' },
    help: { type: 'boolean' },
  },
});
if (values.help) {
  console.log(`usage: npm run fuzz -- [--minutes N | --seconds N] [--only TARGET] [--seed N]
Runs each of ${[...libFuzzerTargets, ...scripts].join(', ')} for the given time, by default
60 seconds, two at a time, and prints how much each has executed. The seed, a whole number above 0,
is chosen at random when none is given.`);
  process.exit(0);
}
const seconds = values.minutes ? Number(values.minutes) * 60 : Number(values.seconds ?? 60);
if (!(seconds > 0)) {
  console.error('fuzz: --minutes and --seconds take a number above 0');
  process.exit(2);
}
const seed = Number(values.seed ?? 1 + (Date.now() % 1_000_000));
if (!Number.isInteger(seed) || seed < 1 || seed >= 2 ** 32) {
  console.error('fuzz: --seed takes a whole number above 0 and below 2^32');
  process.exit(2);
}
const wanted = (name) => values.only === undefined || values.only === name;

function step(command, ...args) {
  const { status } = spawnSync(command, args, { cwd: root, stdio: 'inherit' });
  if (status !== 0) process.exit(1);
}

function libFuzzerJob(name) {
  const corpus = `${workFolder}/corpus/${name}`;
  const findings = `${workFolder}/findings`;
  const seeds = `${root}fuzz/seeds/${name}`;
  for (const folder of [corpus, findings]) mkdirSync(folder, { recursive: true });
  return {
    name,
    command: `${buildFolder}/fuzz/fuzz_${name}`,
    args: [
      `-max_total_time=${Math.ceil(seconds)}`,
      `-seed=${seed}`,
      `-rss_limit_mb=${memoryLimitMb}`,
      `-timeout=${secondsPerInput}`,
      `-artifact_prefix=${findings}/${name}-`,
      '-print_final_stats=1',
      '-max_len=8192',
      corpus,
      ...(existsSync(seeds) ? [seeds] : []),
    ],
    summary: (output) => {
      const runs = /number_of_executed_units: (\d+)/.exec(output)?.[1] ?? '0';
      return `${name}: ${runs} executions`;
    },
  };
}

function scriptJob(name) {
  return {
    name,
    command: process.execPath,
    args: [`${root}fuzz/${name}.mjs`, '--seconds', String(seconds), '--seed', String(seed)],
    summary: (output) => output.trim().split('\n').at(-1),
  };
}

function run({ name, command, args, summary }) {
  return new Promise((resolve) => {
    const child = spawn(command, args, {
      cwd: root,
      env: { ...process.env, UBSAN_OPTIONS: 'print_stacktrace=1' },
    });
    let output = '';
    const collect = (data) => {
      output = (output + data).slice(-50_000);
    };
    child.stdout.on('data', collect);
    child.stderr.on('data', collect);
    child.on('error', (error) => resolve({ name, failed: true, output: error.message }));
    child.on('close', (code) => {
      if (code === 0) console.log(summary(output));
      resolve({ name, failed: code !== 0, output });
    });
  });
}

const jobs = [
  ...libFuzzerTargets.filter(wanted).map(libFuzzerJob),
  ...scripts.filter(wanted).map(scriptJob),
];
if (jobs.length === 0) {
  console.error(`fuzz: there is no target "${values.only}"`);
  process.exit(2);
}
if (libFuzzerTargets.some(wanted)) {
  const targets = libFuzzerTargets.filter(wanted).map((name) => `fuzz_${name}`);
  step('cmake', '--preset', 'asan');
  step('cmake', '--build', buildFolder, '--parallel', '2', '--target', ...targets);
}
if (scripts.some(wanted)) step('npm', 'run', '--silent', 'build');

const results = await sideBySide(jobs, run, 2);
const failures = results.filter(({ failed }) => failed);
for (const { name, output } of failures) {
  console.error(`== ${name} found something:\n${output.slice(-8000)}`);
}
process.exit(failures.length === 0 ? 0 : 1);
