import { basename } from 'node:path';
import { setImmediate } from 'node:timers/promises';
import type { AnalysisParameters } from 'stiltforge';
import type { Scaffold } from 'stiltforge/scaffold';
import type { PrintSettings, Slicer, SupportSettings, Triangles } from 'stiltforge/slicing';
import type { HeldPart } from './held_part.js';
import { boundingBox } from './mesh/triangles.js';
import type { SupportsDocument } from './output/documents.js';
import { sidesName, undersideName } from './picture_names.js';
import type { PointMark } from './pictures/palette.js';
import { sidesPicture, undersidePicture, viewCount } from './pictures/part_picture.js';
import { type PartPoint, partScene } from './pictures/part_scene.js';
import { markOf } from './point_marks.js';
import { type NamedPicture, slicePictures } from './slice_pictures.js';
import type { Tally } from './tally.js';
import { counted, countText } from './wording.js';

export interface AnalysedPart {
  /** Its file. */
  name: string;
  mesh: Triangles;
  print: PrintSettings;
  support: SupportSettings;
  slicer: Slicer;
  parameters: AnalysisParameters;
  tally: Tally;
  part: HeldPart;
  /** What supports.json says of them. */
  document: SupportsDocument;
  /** The supports as geometry, where they were built. */
  built?: Scaffold;
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
  const { mesh, print, support, document, built } = part;
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
  const slices = slicePictures(
    name,
    part.slicer,
    part.parameters,
    part.tally,
    part.part,
    print,
    signal,
  );
  // One that fails while the part is drawn is told when it is waited for.
  slices.catch(() => {});
  try {
    const points = partPoints(document);
    const { layerHeight, lift } = print;
    const scene = partScene(
      mesh,
      points,
      support.criticalAngle,
      layerHeight,
      lift,
      built?.positions,
    );
    await step();
    const { min, max } = boundingBox(mesh);
    const size = max.map((value, axis) => (value - min[axis]).toFixed(1)).join(' x ');
    const title = `${name}, ${size} mm: ${counted(document.supports.length, 'support')}`;
    const words = { title, points: pointWords(points, document) };
    const sides = await sidesPicture(scene, words, step);
    const underside = await undersidePicture(scene, words, step);
    const sheet = await slices;
    await step();
    return [{ name: sidesName, png: sides }, { name: undersideName, png: underside }, ...sheet];
  } finally {
    // It may not be left at work with an analysis that is open.
    await slices.catch(() => {});
  }
}

function partPoints({ supports, dropped, verdict }: SupportsDocument): PartPoint[] {
  const point = ({ x, y, z }: { x: number; y: number; z: number }, kind: PointMark): PartPoint => ({
    position: [x, y, z],
    kind,
  });
  return [
    ...supports.map((support) => point(support, markOf(support))),
    ...dropped.map((support) => point(support, 'dropped')),
    ...verdict.worst.slice(0, 1).map((place) => point(place, 'weakest')),
  ];
}

/** The legend: only what there is. */
function pointWords(points: readonly PartPoint[], { verdict }: SupportsDocument) {
  const [weakest] = verdict.worst;
  const distance = weakest?.distance ?? null;
  const counts = [
    ['island', 'under islands'],
    ['overhang', 'under overhangs'],
    ['added', 'added'],
    ['dropped', 'merged or left out'],
  ] as const;
  const words: Partial<Record<PointMark, string>> = {};
  for (const [mark, meaning] of counts) {
    const count = points.filter(({ kind }) => kind === mark).length;
    if (count > 0) words[mark] = `${countText(count)} ${meaning}`;
  }
  if (distance !== null) words.weakest = `weakest, ${distance.toFixed(1)} mm from a support`;
  else if (weakest !== undefined) words.weakest = 'no support holds this';
  return words;
}
