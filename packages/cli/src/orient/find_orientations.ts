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
import { codeOf, ExitCode, messageOf, UserError } from '../errors.js';
import { predictedMemory } from '../memory.js';
import { binaryStl } from '../mesh/binary_stl.js';
import { boundingBox, triangleCount } from '../mesh/triangles.js';
import { requirePossible } from '../supported_part.js';
import { turnText } from './ranking.js';

export interface OrientationSearch {
  /** What errors call the model: its file. */
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
  /** Bytes that the search may take. */
  memory: number;
}

export interface OrientWatcher {
  /** Orientations done, and those there are to do. */
  progress(done: number, total: number): void;
  signal?: AbortSignal;
}

/** Throws a UserError for what the user can mend, the signal's reason when it is aborted. */
export async function findOrientations(
  search: OrientationSearch,
  { progress, signal }: OrientWatcher,
): Promise<OrientResult> {
  const { name, mesh, print, support, weights, keepClean, directions, listed } = search;
  const atOnce = printsAtOnce(search);
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

/** The mesh as it stands best, a binary STL. Throws a UserError where it stands in no way. */
export function orientedStl(
  { name, mesh, generator }: { name: string; mesh: Triangles; generator: string },
  { best }: OrientResult,
): Uint8Array<ArrayBuffer> {
  const first: Orientation | undefined = best[0];
  if (first === undefined) {
    throw new UserError(ExitCode.mesh, `${name}: no orientation of it could be printed.`);
  }
  const title = `${generator}, turned by ${turnText(first)} degrees about x, y, z`;
  return binaryStl(turnedMesh(mesh, first.turn), title);
}

/** The limit of stiltforge/orientation. */
const mostAtOnce = 1000;

/**
 * How many of the best there is memory for when they are measured side by side, as they will be printed.
 * Throws a UserError where there is none for one of them.
 */
function printsAtOnce({ mesh, print, support, memory }: OrientationSearch): number {
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
