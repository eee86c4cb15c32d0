import { commandHost } from './command_host.js';
import { isLackOfMemory, outOfMemory } from './memory.js';
import { asUserError } from './printed_file.js';
import type { Progress } from './progress.js';
import { analysePart, type PartJob, preparePart, type SupportedPart } from './supported_part.js';
import {
  analyseLayers,
  type LayersJob,
  preparePrint,
  type SupportedPrint,
} from './supported_print.js';

export interface PlaceOptions {
  progress?: Progress;
  signal?: AbortSignal;
}

/**
 * Slices a part, analyses it and finishes its points, off the main thread. Writes nothing: what is made
 * of the result is up to the caller. Throws a UserError for what the user can mend, and the signal's
 * reason when it is aborted.
 */
export async function placeSupports(
  job: PartJob,
  { progress, signal }: PlaceOptions = {},
): Promise<SupportedPart> {
  const prepared = preparePart(job, { pictures: false }, commandHost);
  try {
    progress?.start(prepared.slicer.layerCount, 0);
    return await analysePart(prepared, { layers: (done) => progress?.layers(done), signal });
  } catch (error) {
    signal?.throwIfAborted();
    throw isLackOfMemory(error) ? outOfMemory(job.name, error) : error;
  } finally {
    progress?.stop();
  }
}

/** The same for a print whose layers are in a file, see openPrint(); places are mm of its plate. */
export async function placePrintSupports(
  job: LayersJob,
  { progress, signal }: PlaceOptions = {},
): Promise<SupportedPrint> {
  const prepared = preparePrint(job, {}, commandHost);
  try {
    progress?.start(prepared.slicer.layerCount, 0);
    return await analyseLayers(prepared, { layers: (done) => progress?.layers(done), signal });
  } catch (error) {
    signal?.throwIfAborted();
    throw isLackOfMemory(error) ? outOfMemory(job.name, error, true) : asUserError(error);
  } finally {
    progress?.stop();
  }
}
