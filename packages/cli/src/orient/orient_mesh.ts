import {
  type Orientation,
  type OrientationWeights,
  type OrientResult,
  orient,
  turnedMesh,
} from 'stiltforge/orientation';
import type { PrintSettings, SupportSettings, Triangles } from 'stiltforge/slicing';
import { codeOf, ExitCode, Interrupted, messageOf, UserError } from '../errors.js';
import { outOfMemory } from '../memory.js';
import { binaryStl } from '../mesh/binary_stl.js';
import { OutputFolder } from '../output/output_folder.js';
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
  const folder = OutputFolder.open(job.folder, {
    expected: [meshName, jsonName, ...(job.pictures ? [pictureName] : [])],
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const began = performance.now();
    const result = await found(job, watcher);
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

async function found(job: OrientJob, { progress, signal }: OrientWatcher): Promise<OrientResult> {
  const { name, mesh, print, support, weights, keepClean, directions, listed } = job;
  try {
    const options = {
      positions: mesh,
      ...print,
      ...support,
      weights,
      keepClean,
      directions,
      listed,
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
