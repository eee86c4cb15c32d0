// Builds and runs every benchmark and prints one table of ratios, all taken in this run.
//   npm run bench                      everything, about ten minutes
//   npm run bench -- --quick           small samples, about two minutes
//   npm run bench -- --rival COMMIT    also the command as it was at that commit, built for this
//   npm run bench -- --only PART       stages, models, memory, files, orient, wasm or command;
//                                      repeatable
//   npm run bench -- --stack FILE      also slices of an archive (a zip of PNG layers); repeatable
//   npm run bench -- --write           also puts the table into docs/performance.md
// The variable STILTFORGE_BENCH_STACKS may name archives too, separated as in PATH.
import { execFileSync, spawnSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { availableParallelism, cpus, loadavg } from 'node:os';
import { basename, delimiter, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { builtRival } from '../bench/rival.mjs';
import { measureWholeRuns, wholeRun } from '../bench/whole_runs.mjs';

const root = fileURLToPath(new URL('..', import.meta.url));
const buildFolder = join(root, 'build/bench');
const screens = [
  { name: '2k', width: 1920, height: 1080 },
  { name: '4k', width: 3840, height: 2400 },
  { name: '12k', width: 11520, height: 5120 },
];

const { values: options } = parseArgs({
  options: {
    quick: { type: 'boolean', default: false },
    write: { type: 'boolean', default: false },
    rival: { type: 'string' },
    only: { type: 'string', multiple: true, default: [] },
    stack: { type: 'string', multiple: true, default: [] },
  },
});
const { quick } = options;
const archives = [
  ...options.stack,
  ...(process.env.STILTFORGE_BENCH_STACKS ?? '').split(delimiter).filter(Boolean),
];

const parts = ['stages', 'models', 'memory', 'files', 'orient', 'wasm', 'command'];
const stranger = options.only.find((part) => !parts.includes(part));
if (stranger !== undefined) {
  console.error(`bench: there is no part "${stranger}": use ${parts.join(', ')}`);
  process.exit(2);
}
const wanted = (part) => options.only.length === 0 || options.only.includes(part);

function say(text) {
  process.stderr.write(`bench: ${text}\n`);
}

function build() {
  const run = (program, ...words) => {
    const { status, stdout, stderr } = spawnSync(program, words, { cwd: root, encoding: 'utf8' });
    if (status !== 0) throw new Error(`${program} ${words.join(' ')} failed:\n${stdout}${stderr}`);
    return stdout;
  };
  run('npm', 'run', '--silent', 'build');
  if (wanted('wasm')) run('npm', 'run', '--silent', 'build:wasm');
  if (!wanted('stages') && !wanted('models') && !wanted('files')) return;
  const configured = run('cmake', '--preset', 'bench');
  if (configured.includes('OpenCV not found')) {
    say('OpenCV is missing (Debian: libopencv-dev), so its rows are left out');
  }
  run('cmake', '--build', buildFolder);
}

/** Runs a program of C++ benchmarks, their repetitions interleaved; entries of Google Benchmark's report. */
function runNative(name, words) {
  const report = join(buildFolder, `${basename(name)}.json`);
  const options = [
    `--benchmark_repetitions=${quick ? 5 : 9}`,
    '--benchmark_enable_random_interleaving=true',
    '--benchmark_report_aggregates_only=true',
    '--benchmark_out_format=json',
    `--benchmark_out=${report}`,
  ];
  const program = join(buildFolder, 'bench', name);
  const { status, stderr } = spawnSync(program, [...words, ...options], { encoding: 'utf8' });
  if (status !== 0) throw new Error(`${program} failed:\n${stderr}`);
  const { benchmarks } = JSON.parse(readFileSync(report, 'utf8'));
  return benchmarks.filter((entry) => entry.aggregate_name === 'median');
}

/**
 * Runs a scenario in a process of its own, `rounds` times; gives the one of median duration. `before`
 * is a command that runs it.
 */
function runScenario(name, settings, rounds = 1, before = []) {
  const script = join(root, 'bench/scenario.mjs');
  const [program, ...words] = [
    ...[...before, process.execPath],
    ...[script, name, JSON.stringify(settings)],
  ];
  const results = Array.from({ length: rounds }, () => JSON.parse(execFileSync(program, words)));
  return results.sort((a, b) => a.seconds - b.seconds)[rounds >> 1];
}

say('building');
build();
const { demoMesh, plateMesh, writeParameters, writeSoup, writeStackPicture, writeStl } =
  await import('../bench/inputs.mjs');
const { rowsOf, tableOf } = await import('../bench/report.mjs');
const folder = join(buildFolder, 'inputs');
const soup = join(folder, 'bunny.f32');
writeSoup(demoMesh(), soup);
const rounds = quick ? 1 : 3;
const measured = { sizes: quick ? screens.slice(0, 2) : screens };

if (wanted('stages') || wanted('models')) {
  say('segmentation and placement');
  const stacks = [];
  for (const archive of archives) stacks.push(await writeStackPicture(archive, folder));
  const { parameters } = writeParameters(folder);
  measured.native = runNative('stiltforge_bench', [
    `--soup=${soup}`,
    `--parameters=${parameters}`,
    ...stacks.map((file) => `--stack=${file}`),
    ...(quick ? ['--quick'] : []),
  ]);
}
if (wanted('models')) {
  say('whole models through Node');
  const layers = quick ? 120 : undefined;
  const alone = { soup, layers, needBuffer: false };
  const buffers = { soup, layers: layers ?? 300, needBuffer: true };
  const [width, height] = [1920, 1080];
  const packed = runScenario('packSlices', { soup, folder, width, height, layers: 24 });
  measured.models = {
    alone: runScenario('analysisAlone', alone, rounds),
    buffers: runScenario('analysisAlone', buffers, rounds),
    overlapped: runScenario('model', { soup, layers }, rounds),
    two: runScenario('twoModels', {
      ...packed,
      width,
      height,
      layers: quick ? 100 : 600,
      rounds: 3,
    }),
  };
}
if (wanted('memory')) {
  say('memory');
  const wide = { width: 11520, height: 5120 };
  const packed = runScenario('packSlices', { soup, folder, ...wide, layers: 6 });
  measured.memory = {
    many: runScenario('manyLayers', { layers: quick ? 200 : 2000, needBuffer: false }),
    perPixel: runScenario('bytesPerPixel', { ...wide, needBuffer: false }),
    perPixelOfBunny: runScenario('bytesPerPixelOf', { ...packed, ...wide }),
    perPixelBuffers: runScenario('bytesPerPixel', { ...wide, needBuffer: true }),
  };
}
if (wanted('files')) {
  say('printer files');
  const shortly = '--benchmark_min_time=0.05';
  const program = 'files/stiltforge_files_bench';
  const times = runNative(program, [soup, shortly]);
  const archive = join(folder, 'bunny.sl1');
  execFileSync(join(buildFolder, 'bench', program), [soup, `--write-sl1=${archive}`]);
  const runs = [];
  for (let i = 0; i < 3; i++) runs.push(await wholeRun(root, { mesh: archive, options: [] }));
  measured.files = { times, run: runs.sort((a, b) => a.seconds - b.seconds)[1] };
}
if (wanted('orient')) {
  say('orientations');
  measured.orient = runScenario('orientations', { soup }, rounds);
}
if (wanted('wasm')) {
  say('WebAssembly');
  // One core, so that the addon has one thread.
  const oneCore = ['taskset', '-c', '0'];
  const [addon, wasm] = [false, true].map((isWasm) =>
    runScenario('finishedPart', { soup, isWasm }, rounds, oneCore),
  );
  measured.wasm = { addon, wasm };
}
if (wanted('command')) {
  const rival = options.rival && builtRival(root, options.rival, say);
  say('the command');
  const bunny = join(folder, 'bunny.stl');
  writeStl(demoMesh(), bunny);
  const plate = (layers) => {
    const mesh = join(folder, `plate-${layers}.stl`);
    writeStl(plateMesh(65, 0.05 * layers), mesh);
    return { mesh, layers };
  };
  measured.command = {
    rival: rival?.commit,
    ...(await measureWholeRuns({
      ...{ ours: root, rival: rival?.folder, bunny, rounds: quick ? 3 : 5 },
      plates: { many: plate(200), few: plate(10) },
    })),
  };
}

const commit = execFileSync('git', ['rev-parse', '--short', 'HEAD'], {
  cwd: root,
  encoding: 'utf8',
});
const machine =
  `${cpus()[0].model}, ${availableParallelism()} cores, Node ${process.versions.node}, commit ` +
  `${commit.trim()}, load ${loadavg()[0].toFixed(1)}${quick ? ', quick' : ''}`;
const report = `${machine}\n\n${tableOf(rowsOf(measured))}\n`;
console.log(report);
if (options.write) {
  const page = join(root, 'docs/performance.md');
  const heading = '## Results\n';
  const [method] = readFileSync(page, 'utf8').split(heading);
  writeFileSync(page, `${method}${heading}\n${report}`);
}
