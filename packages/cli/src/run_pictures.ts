import { basename } from 'node:path';
import { setImmediate } from 'node:timers/promises';
import type { AnalysisParameters } from 'stiltforge';
import type { PrintSettings, Slicer, SupportSettings, Triangles } from 'stiltforge/slicing';
import { boundingBox } from './mesh/triangles.js';
import type { SupportRecord } from './output/documents.js';
import { sidesName, undersideName } from './picture_names.js';
import { sidesPicture, undersidePicture, viewCount } from './pictures/part_picture.js';
import { partScene } from './pictures/part_scene.js';
import { type NamedPicture, slicePictures } from './slice_pictures.js';
import type { Tally } from './tally.js';

export interface AnalysedPart {
  /** Its file. */
  name: string;
  mesh: Triangles;
  print: PrintSettings;
  support: SupportSettings;
  slicer: Slicer;
  parameters: AnalysisParameters;
  tally: Tally;
  supports: readonly SupportRecord[];
}

/**
 * All pictures of a part. `progress` is told the share that is done, from 0 to 1. Throws the signal's
 * reason.
 */
export async function drawPictures(
  part: AnalysedPart,
  progress: (share: number) => void,
  signal: AbortSignal,
): Promise<NamedPicture[]> {
  const { mesh, print, support, supports } = part;
  const name = basename(part.name);
  let done = 0;
  const steps = 2 * viewCount + 2;
  const step = async (): Promise<void> => {
    progress(++done / steps);
    // Signals and the progress bar have their turn here.
    await setImmediate();
    signal.throwIfAborted();
  };

  // Their regions are found natively while the part is drawn here.
  const slices = slicePictures(name, part.slicer, part.parameters, part.tally, print, signal);
  // One that fails while the part is drawn is told when it is waited for.
  slices.catch(() => {});
  try {
    const points = supports.map(({ x, y, z, kind }) => ({ position: [x, y, z] as const, kind }));
    const scene = partScene(mesh, points, support.criticalAngle, print.layerHeight);
    await step();
    const { min, max } = boundingBox(mesh);
    const size = max.map((value, axis) => (value - min[axis]).toFixed(1)).join(' x ');
    const title = `${name}, ${size} mm: ${supports.length} supports`;
    const sides = await sidesPicture(scene, title, step);
    const underside = await undersidePicture(scene, title, step);
    const sheet = await slices;
    await step();
    return [{ name: sidesName, png: sides }, { name: undersideName, png: underside }, ...sheet];
  } finally {
    // It may not be left at work with an analysis that is open.
    await slices.catch(() => {});
  }
}
