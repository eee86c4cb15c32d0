import type { Orientation, OrientResult } from 'stiltforge/orientation';
import { commandHost } from '../command_host.js';
import { codeOf, Interrupted } from '../errors.js';
import { outOfMemory } from '../memory.js';
import { inOutputFolder, type OutputFolder } from '../output/output_folder.js';
import {
  findOrientations,
  type OrientationSearch,
  type OrientWatcher,
  orientedStl,
} from './find_orientations.js';
import { orientationsJson, turnText } from './ranking.js';
import type { OrientReport } from './report.js';

const meshName = 'oriented.stl';
const jsonName = 'orientations.json';
const pictureName = 'orientations.png';

export interface OrientJob extends Omit<OrientationSearch, 'memory'> {
  folder: string;
  force?: boolean;
  pictures: boolean;
  /** Bytes that the search may take; what the machine has unless set. */
  memory?: number;
}

/**
 * Finds how a part should stand and writes the turned mesh, a list and a picture: all of them or none.
 * Throws a UserError for what the user can mend, Interrupted when the signal says so.
 */
export function orientMesh(
  job: OrientJob,
  watcher: OrientWatcher & { signal: AbortSignal },
): Promise<OrientReport> {
  const { signal } = watcher;
  const { generator, memory } = commandHost;
  const expected = [meshName, jsonName, ...(job.pictures ? [pictureName] : [])];
  return inOutputFolder(job.folder, { expected, force: job.force ?? false }, async (folder) => {
    try {
      const began = performance.now();
      const result = await findOrientations({ ...job, memory: job.memory ?? memory }, watcher);
      const seconds = (performance.now() - began) / 1000;
      const json = orientationsJson(job.name, result, generator);
      await writeOutputs(job, result, json, folder, signal);
      const files = folder.topLevelNames();
      folder.commit(() => false);
      const hasCleanSide = job.keepClean !== undefined;
      return { name: job.name, result, json, hasCleanSide, seconds, folder: job.folder, files };
    } catch (error) {
      if (signal.aborted) throw new Interrupted();
      throw codeOf(error) === 'ERR_STILTFORGE_MEMORY' ? outOfMemory(job.name, error) : error;
    }
  });
}

async function writeOutputs(
  { name, mesh, print, support, pictures }: OrientJob,
  result: OrientResult,
  json: string,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<void> {
  const { generator } = commandHost;
  await folder.write(meshName, orientedStl({ name, mesh, generator }, result));
  await folder.write(jsonName, json);
  if (!pictures) return;
  const { asItIs, best } = result;
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
