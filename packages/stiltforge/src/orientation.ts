// Which way a part should stand: tries orientations with the analysis, and ranks them.

import { binding } from './binding.js';
import type { PrintSettings, SupportSettings } from './print.js';
import { requireObject } from './required_object.js';
import type { Triangles } from './slicing.js';
import type { AbortSignalLike } from './waiting.js';
import { type WatchedWork, watched } from './watched.js';

/** Degrees about the fixed axes x, then y, then z, counter-clockwise seen from their positive ends. */
export type Turn = [x: number, y: number, z: number];

/** What a print of a part in one orientation costs. */
export interface OrientationMeasures {
  /** Supports, after finishing. */
  points: number;
  /** mm2 of surface that overhangs steeply, seen from below. */
  overhang: number;
  /** Bodies that begin in the air and that nothing takes soon. */
  islands: number;
  /** mm from the lowest point to the highest. */
  height: number;
  /**
   * mm3 of empty space that is closed while it is printed, by the part, the plate and the film under
   * the resin: bowls, bells and sealed voids.
   */
  cups: number;
  /** mm2 of the side to be kept clean that lie on the plate or need supports; 0 without such a side. */
  marks: number;
}

export interface OrientationSupport {
  x: number;
  y: number;
  z: number;
  kind: 'island' | 'overhang';
}

export interface Orientation {
  turn: Turn;
  /** Where it comes from: the file, a flat side, the spread over the sphere, or near a better one. */
  origin: 'asItIs' | 'flatSide' | 'spread' | 'nearby';
  measures: OrientationMeasures;
  /** Bottom first; mm in the coordinates of the turned mesh. */
  supports: OrientationSupport[];
  /** The weighted mean of the measures, each as a multiple of an average orientation's; less is better. */
  cost: number;
}

/** How much each measure counts, from 0 to 1,000,000. */
export type OrientationWeights = Record<keyof OrientationMeasures, number>;

export const defaultWeights: Readonly<OrientationWeights> = {
  points: 1,
  overhang: 0.5,
  islands: 0.25,
  height: 0.25,
  cups: 0.5,
  marks: 2,
};

export interface OrientOptions extends Partial<PrintSettings>, Partial<SupportSettings> {
  /** The mesh, seen counter-clockwise from outside. Copied by the call. */
  positions: Triangles;
  /** Those of defaultWeights where they are not given. */
  weights?: Partial<OrientationWeights>;
  /** The direction that a side faces which is to carry no marks, of any length above 0. */
  keepClean?: readonly [x: number, y: number, z: number];
  /** Directions over the sphere that are tried, 1 to 100,000, before those near the best; default 200. */
  directions?: number;
  /** Orientations of the result, 1 to 1,000, at most; default 6. */
  listed?: number;
  /**
   * Measure the best again as they will be printed; default true. Otherwise all figures are those of
   * the coarser grid of the search.
   */
  confirm?: boolean;
  /**
   * So many of these are measured side by side, 1 to 1,000, each in the memory of a print; as many as there
   * are cores unless set.
   */
  atOnce?: number;
  /** Called about ten times a second with the orientations done and those there are to do. */
  progress?: (done: number, total: number) => void;
  signal?: AbortSignalLike;
}

export interface OrientResult {
  /** The mesh as it is; undefined where it does not fit on the screen. */
  asItIs?: Orientation;
  /** The best first, no two alike; as it is may be among them. */
  best: Orientation[];
  /** Orientations tried. */
  tried: number;
  /** mm, of the grid of the search. */
  pixelSize: number;
  layerHeight: number;
}

/** Weights are plain options here. */
interface NativeOrientOptions extends Omit<OrientOptions, 'weights' | 'progress' | 'signal'> {
  pointsWeight: number;
  overhangWeight: number;
  islandsWeight: number;
  heightWeight: number;
  cupsWeight: number;
  marksWeight: number;
  /** Called where the search blocks the host, which can't ask for its progress then. */
  listener?: (done: number, total: number) => void;
}

interface OrientationBinding {
  /** Throws for options that are none; the result rejects for what fails at work. */
  startOrientation(options: NativeOrientOptions): WatchedWork<OrientResult>;
  turnMesh(positions: Triangles, turn: Readonly<Turn>): Triangles;
}

/**
 * Tries orientations of a mesh, off the main thread and on all cores: its flat sides, a spread over
 * the sphere, and around the best of them; only those that fit on the screen. Each is sliced, analysed
 * and finished at a coarser grid, about 250 pixels along the part. The same for any number of workers.
 *
 * Rejects with a TypeError or a RangeError for options that are none; with an Error with the code
 * ERR_STILTFORGE_MESH for a mesh that can't be sliced or fits in no way, ERR_STILTFORGE_MEMORY when
 * memory runs out; with the signal's reason when it is aborted.
 */
export async function orient(options: OrientOptions): Promise<OrientResult> {
  requireObject(options, 'The argument', 'options');
  const { weights = {}, progress, signal, ...rest } = options;
  const given = { ...defaultWeights, ...weights };
  const stranger = Object.keys(given).find((name) => !Object.hasOwn(defaultWeights, name));
  if (stranger !== undefined) {
    const names = Object.keys(defaultWeights).join(', ');
    throw new TypeError(`There is no weight "${stranger}"; the weights are ${names}.`);
  }
  const asked = {
    ...rest,
    pointsWeight: given.points,
    overhangWeight: given.overhang,
    islandsWeight: given.islands,
    heightWeight: given.height,
    cupsWeight: given.cups,
    marksWeight: given.marks,
  };
  const { startOrientation } = binding<OrientationBinding>();
  return watched((listener) => startOrientation({ ...asked, listener }), progress, signal);
}

/** A copy of the mesh, turned about the origin. Quarter turns are exact. Throws a TypeError or a RangeError. */
export function turnedMesh(positions: Triangles, turn: Readonly<Turn>): Triangles {
  return binding<OrientationBinding>().turnMesh(positions, turn);
}
