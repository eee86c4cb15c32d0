import {
  type Orientation,
  type OrientationWeights,
  type OrientResult,
  orient,
  turnedMesh,
} from 'stiltforge/orientation';
import {
  analysisParameters,
  type PrintSettings,
  type SupportSettings,
  type Triangles,
} from 'stiltforge/slicing';
import { codeOf, ExitCode, Interrupted, messageOf, UserError } from '../errors.js';
import { memoryOfMachine } from '../machine_memory.js';
import { outOfMemory, predictedMemory } from '../memory.js';
import { binaryStl } from '../mesh/binary_stl.js';
import { boundingBox, triangleCount } from '../mesh/triangles.js';
import { OutputFolder } from '../output/output_folder.js';
import { requirePossible } from '../supported_part.js';
import { version } from '../version.js';
import { type OrientReport, orientationsJson, turnText } from './report.js';

const meshName = 'oriented.stl';
const jsonName = 'orientations.json';
const pictureName = 'orientations.png';

export interface OrientJob {
  /** What the outputs and errors call the model: its file. */
  name: string;
  mesh: Triangles;
  print: PrintSettings;
  support: SupportSettings;
  weights?: OrientationWeights;
  keepClean?: [x: number, y: number, z: number];
  /** Directions over the sphere. */
  directions?: number;
  /** Orientations that are listed. */
  listed?: number;
  folder: string;
  force?: boolean;
  pictures: boolean;
  /** Bytes that the search may take; what the machine has unless set. */
  memory?: number;
}

export interface OrientWatcher {
  /** Orientations done, and those there are to do. */
  progress(done: number, total: number): void;
  signal: AbortSignal;
}

/**
 * Finds how a part should stand and writes the turned mesh, a list and a picture: all of them or none.
 * Throws a UserError for what the user can mend, Interrupted when the signal says so.
 */
export async function orientMesh(job: OrientJob, watcher: OrientWatcher): Promise<OrientReport> {
  const { signal } = watcher;
  const atOnce = printsAtOnce(job);
  const folder = OutputFolder.open(job.folder, {
    expected: [meshName, jsonName, ...(job.pictures ? [pictureName] : [])],
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const began = performance.now();
    const result = await found(job, atOnce, watcher);
    const seconds = (performance.now() - began) / 1000;
    const json = orientationsJson(job.name, result, `stiltforge ${version}`);
    await writeOutputs(job, result, json, folder, signal);
    const files = folder.topLevelNames();
    folder.commit(() => false);
    const hasCleanSide = job.keepClean !== undefined;
    return { name: job.name, result, json, hasCleanSide, seconds, folder: job.folder, files };
  } catch (error) {
    if (signal.aborted) throw new Interrupted();
    throw codeOf(error) === 'ERR_STILTFORGE_MEMORY' ? outOfMemory(job.name, error) : error;
  } finally {
    folder.discard();
    process.off('exit', discard);
  }
}

/** The limit of stiltforge/orientation. */
const mostAtOnce = 1000;

/**
 * How many of the best there is memory for when they are measured side by side, as they will be printed.
 * Throws a UserError where there is none for one of them.
 */
function printsAtOnce({ mesh, print, support, memory = memoryOfMachine() }: OrientJob): number {
  const { min, max } = boundingBox(mesh);
  const longest = Math.hypot(...max.map((top, axis) => top - min[axis]));
  const { layerHeight, pixelSize, screenWidth, screenHeight } = print;
  const pixels = Math.max(1, Math.ceil(longest / pixelSize));
  // No orientation has more.
  const slices = {
    width: Math.min(screenWidth, pixels),
    height: Math.min(screenHeight, pixels),
    layerCount: Math.min(65_535, Math.max(1, Math.ceil(longest / layerHeight))),
  };
  const parameters = analysisParameters(print, support, slices);
  const triangles = triangleCount(mesh);
  const making = { pictures: false };
  const whole = requirePossible(parameters, triangles, { print, support }, making, memory);
  const resting = predictedMemory({ ...parameters, width: 1, height: 1 }, triangles, {
    ...{ ...making, layersBelow: 0 },
  });
  const each = Math.max(1, whole - resting);
  return Math.max(1, Math.min(mostAtOnce, Math.floor((memory - resting) / each)));
}

async function found(
  job: OrientJob,
  atOnce: number,
  { progress, signal }: OrientWatcher,
): Promise<OrientResult> {
  const { name, mesh, print, support, weights, keepClean, directions, listed } = job;
  try {
    const options = {
      positions: mesh,
      ...print,
      ...support,
      weights,
      keepClean,
      directions,
      ...{ listed, atOnce },
    };
    return await orient({ ...options, progress, signal });
  } catch (error) {
    if (codeOf(error) !== 'ERR_STILTFORGE_MESH') throw error;
    throw new UserError(ExitCode.mesh, `${name}: ${messageOf(error)}`, { cause: error });
  }
}

async function writeOutputs(
  { name, mesh, print, support, pictures }: OrientJob,
  { asItIs, best }: OrientResult,
  json: string,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<void> {
  const [first] = best;
  if (first === undefined) {
    throw new UserError(ExitCode.mesh, `${name}: no orientation of it could be printed.`);
  }
  const title = `stiltforge ${version}, turned by ${turnText(first)} degrees about x, y, z`;
  await folder.write(meshName, binaryStl(turnedMesh(mesh, first.turn), title));
  await folder.write(jsonName, json);
  if (!pictures) return;
  const { orientationsPicture } = await import('./picture.js');
  const others = best.filter(({ origin }) => origin !== 'asItIs');
  const shown: { title: string; orientation: Orientation }[] = [
    ...(asItIs === undefined ? [] : [{ title: 'As it is', orientation: asItIs }]),
    ...others.map((orientation) => ({
      title: `${best.indexOf(orientation) + 1}: --rotate ${turnText(orientation)}`,
      orientation,
    })),
  ];
  const settings = { ...print, criticalAngle: support.criticalAngle };
  await folder.write(
    pictureName,
    await orientationsPicture(name, mesh, shown.slice(0, 8), settings, signal),
  );
}
