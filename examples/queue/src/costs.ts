// Measures what parts cost on this machine, through the processes of a worker, without Redis:
//
//   npm run costs -w stiltforge-queue-example [-- --price 0.04]
//
// The price is that of a core for an hour, in any currency.
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { availableParallelism, cpus, loadavg, tmpdir } from 'node:os';
import { join } from 'node:path';
import { parseArgs } from 'node:util';
import { createSlicer } from 'stiltforge/slicing';
import {
  analysisParameters,
  defaultPrint,
  defaultSupport,
  loadMesh,
  predictedMemory,
} from 'stiltforge-cli';
import { PartProcesses } from './part_processes.js';

const heights = [20, 60, 100]; // mm
const memory = 4e9;
const name = 'bunny.stl';

/** Seconds that each measurement takes at least. */
const leastSeconds = 5;

interface IndexedMesh {
  positions: number[][];
  cells: number[][];
}

/** The bunny, standing, of a height in millimetres. */
function bunnyStl(height: number): string {
  const { positions, cells } = createRequire(import.meta.url)('bunny') as IndexedMesh;
  const ys = positions.map(([, y]) => y);
  const scale = height / (Math.max(...ys) - Math.min(...ys));
  const vertex = (index: number): string => {
    const [x, y, z] = positions[index].map((value) => scale * value);
    return `vertex ${x} ${-z} ${y}`;
  };
  const facets = cells.map(
    (cell) => `facet normal 0 0 0\nouter loop\n${cell.map(vertex).join('\n')}\nendloop\nendfacet\n`,
  );
  return `solid bunny\n${facets.join('')}endsolid bunny\n`;
}

/** Bytes that a part is said to take before it is begun. */
async function estimateOf(stl: string): Promise<{ layers: number; estimate: number }> {
  const { positions } = await loadMesh(Buffer.from(stl), undefined, name);
  const { criticalAngle, inset, minimumHeight } = defaultSupport;
  const slicer = createSlicer({ positions, ...defaultPrint, criticalAngle, inset, margin: 2 });
  const parameters = analysisParameters(defaultPrint, defaultSupport, slicer);
  const making = { pictures: false, layersBelow: minimumHeight / defaultPrint.layerHeight };
  const estimate = predictedMemory(parameters, slicer.report.triangles, making);
  return { layers: slicer.layerCount, estimate };
}

interface Measured {
  partsPerHour: number;
  /** Of all cores, for a part. */
  cpuSeconds: number;
  /** Bytes, of the largest process. */
  peak: number;
}

/** Makes a part again and again, so many at once. */
async function measure(stl: string, atOnce: number): Promise<Measured> {
  const root = await mkdtemp(join(tmpdir(), 'stiltforge-costs-'));
  const processes = new PartProcesses(memory);
  const watcher = { signal: new AbortController().signal, timeLimit: 600_000, progress() {} };
  let peak = 0;
  const makeIn = async (lane: number, part: number): Promise<number> => {
    const folder = join(root, `${lane}.${part}`);
    await mkdir(folder);
    await writeFile(join(folder, name), stl);
    const settings = { format: 'json', print: {}, support: {} } as const;
    const { peakMemory, cpuSeconds } = await processes.make(
      { folder, name, memory, ...settings },
      watcher,
    );
    peak = Math.max(peak, peakMemory);
    await rm(folder, { recursive: true });
    return cpuSeconds;
  };
  const lanes = Array.from({ length: atOnce }, (_, index) => index);
  try {
    // Processes that serve for many parts are started once.
    await Promise.all(lanes.map((lane) => makeIn(lane, 0)));
    const started = performance.now();
    const secondsSince = () => (performance.now() - started) / 1000;
    let parts = 0;
    let cpuSeconds = 0;
    const work = async (lane: number): Promise<void> => {
      do {
        parts += 1;
        const spent = await makeIn(lane, parts);
        cpuSeconds += spent;
      } while (secondsSince() < leastSeconds);
    };
    await Promise.all(lanes.map(work));
    return { partsPerHour: (3600 * parts) / secondsSince(), cpuSeconds: cpuSeconds / parts, peak };
  } finally {
    processes.close();
    await rm(root, { recursive: true, force: true });
  }
}

function row(cells: readonly (string | number)[]): void {
  process.stdout.write(`| ${cells.join(' | ')} |\n`);
}

const { values } = parseArgs({ options: { price: { type: 'string' } } });
const price = values.price === undefined ? undefined : Number(values.price);
const cores = availableParallelism();
const load = loadavg()[0].toFixed(1);
process.stdout.write(
  `${cpus()[0].model}, ${cores} cores, Node ${process.versions.node}, load ${load}\n\n`,
);
const money = price === undefined ? [] : [`costs of 1,000 parts at ${price} a core-hour`];
const title = ['part', 'layers', 'at once', 'memory told before', 'peak', 'parts an hour'];
row([...title, 'core-hours for 1,000 parts', ...money]);
row([...title, '', ...money].map(() => '---'));
for (const height of heights) {
  const stl = bunnyStl(height);
  const { layers, estimate } = await estimateOf(stl);
  for (const atOnce of [...new Set([1, cores, 2 * cores])]) {
    const { partsPerHour, cpuSeconds, peak } = await measure(stl, atOnce);
    const coreHours = (1000 * cpuSeconds) / 3600;
    const size = (bytes: number): string => `${Math.round(bytes / 1e6)} MB`;
    row([
      ...[`bunny, ${height} mm`, layers, atOnce, size(estimate), size(peak)],
      ...[Math.round(partsPerHour).toLocaleString('en-US'), coreHours.toPrecision(2)],
      ...(price === undefined ? [] : [(price * coreHours).toPrecision(2)]),
    ]);
  }
}
