// Builds and runs every benchmark and prints one table of ratios, all taken in this run.
//   npm run bench                      everything, about ten minutes
//   npm run bench -- --quick           small samples, about two minutes
//   npm run bench -- --stack FILE      also slices of an archive (a zip of PNG layers); repeatable
//   npm run bench -- --write           also puts the table into docs/performance.md
// The variable STILTFORGE_BENCH_STACKS may name archives too, separated as in PATH.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { availableParallelism, cpus, loadavg, tmpdir } from 'node:os';
import { delimiter, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

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
    stack: { type: 'string', multiple: true, default: [] },
  },
});
const { quick } = options;
const archives = [
  ...options.stack,
  ...(process.env.STILTFORGE_BENCH_STACKS ?? '').split(delimiter).filter(Boolean),
];

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
  const configured = run('cmake', '--preset', 'bench');
  if (configured.includes('OpenCV not found')) {
    say('OpenCV is missing (Debian: libopencv-dev), so its rows are left out');
  }
  run('cmake', '--build', buildFolder);
}

/** Runs the C++ benchmarks, their repetitions interleaved; entries of Google Benchmark's report. */
function runNative({ soup, parameters, stacks }) {
  const report = join(buildFolder, 'native.json');
  const words = [
    `--soup=${soup}`,
    `--parameters=${parameters}`,
    ...stacks.map((file) => `--stack=${file}`),
    ...(quick ? ['--quick'] : []),
    `--benchmark_repetitions=${quick ? 5 : 9}`,
    '--benchmark_enable_random_interleaving=true',
    '--benchmark_report_aggregates_only=true',
    '--benchmark_out_format=json',
    `--benchmark_out=${report}`,
  ];
  const program = join(buildFolder, 'bench/stiltforge_bench');
  const { status, stderr } = spawnSync(program, words, { encoding: 'utf8' });
  if (status !== 0) throw new Error(`${program} failed:\n${stderr}`);
  return JSON.parse(readFileSync(report, 'utf8')).benchmarks;
}

/** Runs a scenario in a process of its own, `rounds` times; gives the one of median duration. */
function runScenario(name, settings, rounds = 1) {
  const script = join(root, 'bench/scenario.mjs');
  const results = Array.from({ length: rounds }, () =>
    JSON.parse(execFileSync(process.execPath, [script, name, JSON.stringify(settings)])),
  );
  return results.sort((a, b) => a.seconds - b.seconds)[rounds >> 1];
}

/** Seconds that the command takes from a mesh file to supports.json, the median of some runs. */
function runCommand(stl, rounds) {
  const command = join(root, 'packages/cli/dist/main.js');
  const seconds = Array.from({ length: rounds }, () => {
    const folder = mkdtempSync(join(tmpdir(), 'stiltforge-bench-'));
    const words = [
      stl,
      '--pixel-size',
      '0.035',
      '--no-pictures',
      '--quiet',
      '--out',
      join(folder, 'out'),
    ];
    const start = performance.now();
    execFileSync(process.execPath, [command, ...words]);
    const taken = (performance.now() - start) / 1000;
    rmSync(folder, { recursive: true });
    return taken;
  });
  return seconds.sort((a, b) => a - b)[rounds >> 1];
}

say('building');
build();
const { demoMesh, writeMesh, writeParameters, writeStackPicture } = await import(
  '../bench/inputs.mjs'
);
const { rowsOf, tableOf } = await import('../bench/report.mjs');
const folder = join(buildFolder, 'inputs');
const inputs = { ...writeMesh(demoMesh(), folder), ...writeParameters(folder), stacks: [] };
for (const archive of archives) inputs.stacks.push(await writeStackPicture(archive, folder));

say('segmentation and placement');
const native = runNative(inputs).filter((entry) => entry.aggregate_name === 'median');
const nameOf = (entry) => entry.run_name.replace(/\/iterations:.*/, '');
const rounds = quick ? 1 : 3;
const layers = quick ? 120 : undefined;
const { soup } = inputs;
say('whole models through Node');
const alone = runScenario('analysisAlone', { soup, layers, needBuffer: false }, rounds);
const buffers = runScenario(
  'analysisAlone',
  { soup, layers: layers ?? 300, needBuffer: true },
  rounds,
);
const overlapped = runScenario('model', { soup, layers }, rounds);
say('memory');
const wide = { width: 11520, height: 5120 };
const measured = {
  times: new Map(
    native.map((entry) => [
      nameOf(entry),
      { wall: entry.real_time, processor: entry.processor_ms },
    ]),
  ),
  plainLayers: native.find((entry) => nameOf(entry) === 'model-plain/bunny-4k').layers,
  sizes: quick ? screens.slice(0, 2) : screens,
  alone,
  buffers,
  overlapped,
  many: runScenario('manyLayers', { layers: quick ? 200 : 2000, needBuffer: false }),
  perPixel: runScenario('bytesPerPixel', { ...wide, needBuffer: false }),
  perPixelBuffers: runScenario('bytesPerPixel', { ...wide, needBuffer: true }),
};
say('the command');
measured.command = { seconds: runCommand(inputs.stl, rounds) };

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
