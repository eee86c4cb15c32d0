// Parts, one after the other, in a process of their own, so that what ends it ends nothing else.
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { isPrinterFile } from 'stiltforge/slicing';
import {
  analyseMesh,
  analysePrint,
  defaultPrint,
  defaultSupport,
  ExitCode,
  type JobWatcher,
  loadMesh,
  noProgress,
  openPrint,
  type Summary,
  UserError,
} from 'stiltforge-cli';
import type { PartMessage, PartOrder } from './part_messages.js';

/** Beside the input: no part is called like this. */
const results = '.results';

/** Milliseconds between messages on how far it is. */
const pause = 250;

const inputFaults: readonly ExitCode[] = [ExitCode.usage, ExitCode.mesh, ExitCode.memory];

/** When memory runs out, the system is to end this process and not the worker. */
function offerToBeEndedFirst(): void {
  try {
    writeFileSync('/proc/self/oom_score_adj', '1000');
  } catch {
    // Not Linux, or not allowed: the limit that the worker watches still holds.
  }
}

async function make(order: PartOrder): Promise<PartMessage> {
  try {
    process.chdir(order.folder);
    const before = process.cpuUsage();
    const watcher = { signal: new AbortController().signal, warn() {}, progress: told() };
    const make = isPrinterFile(order.name) ? makeOfPrint : makeOfMesh;
    const { files } = await make(order, watcher);
    const { user, system } = process.cpuUsage(before);
    return { made: join(results, files[0]), cpuSeconds: (user + system) / 1e6 };
  } catch (error) {
    if (error instanceof UserError && inputFaults.includes(error.exitCode)) {
      return { refused: error.message };
    }
    return { failed: error instanceof Error ? error.message : String(error) };
  }
}

async function makeOfMesh(order: PartOrder, watcher: JobWatcher): Promise<Summary> {
  const { positions: mesh, warnings: meshWarnings } = await loadMesh(order.name);
  const print = { ...defaultPrint, ...order.print };
  return analyseMesh({ ...common(order), mesh, meshWarnings, print }, watcher);
}

async function makeOfPrint(order: PartOrder, watcher: JobWatcher): Promise<Summary> {
  const { layerHeight, pixelSize, ...forMeshes } = order.print;
  const [unwanted] = Object.keys(forMeshes);
  if (unwanted !== undefined) {
    throw new UserError(
      ExitCode.usage,
      `print.${unwanted}: it is for a mesh, and the input is a printer file. Leave it out.`,
    );
  }
  if (order.format === '3mf') {
    throw new UserError(
      ExitCode.usage,
      'format 3mf: it holds a mesh, and the input is a printer file. Choose json or csv.',
    );
  }
  const printed = await openPrint(order.name, { layerHeight, pixelSize });
  return analysePrint({ ...common(order), printed }, watcher);
}

function common({ name, format, memory, support: given }: PartOrder) {
  const support = { ...defaultSupport, ...given };
  return {
    name,
    folder: results,
    formats: [format],
    memory,
    support,
    pictures: false,
    inspect: [],
  };
}

function told(): JobWatcher['progress'] {
  let of = 0;
  let last = 0;
  return {
    ...noProgress,
    start(layers) {
      of = layers;
    },
    layers(layers) {
      if (performance.now() - last < pause) return;
      last = performance.now();
      process.send?.({ progress: { layers, of } } satisfies PartMessage);
    },
  };
}

offerToBeEndedFirst();
// Nobody is left who would take the result.
process.once('disconnect', () => process.exit(1));
process.on('message', async (order: PartOrder) => {
  const message = await make(order);
  // The folder is about to be removed.
  process.chdir('/');
  process.send?.(message);
});
