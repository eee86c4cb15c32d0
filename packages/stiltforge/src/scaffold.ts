// The supports of a part as geometry: tips, pillars, feet, and a raft.

import { binding } from './binding.js';
import { requireObject } from './required_object.js';
import type { Triangles } from './slicing.js';
import type { AbortSignalLike } from './waiting.js';
import { type WatchedWork, watched } from './watched.js';

/** How supports are built, mm. */
export interface ScaffoldSettings {
  /** Where a support touches the part, 0.1 to 5; default 0.4. */
  tipDiameter?: number;
  /** Of the cone from there to the pillar, measured upright, 0.5 to 20; default 2. */
  tipLength?: number;
  /** By which a tip reaches into the part, 0 to 2; default 0.2. */
  penetration?: number;
  /** From the tip's diameter to 20; default 1. */
  pillarDiameter?: number;
  /** On the plate or the raft, from the pillar's diameter to 100; default 3. */
  footDiameter?: number;
  /** Of the cone from the foot to the pillar, 0 to 20; default 0.5. */
  footHeight?: number;
  /** Between a pillar and the part, 0 to 10; default 0.3. */
  clearance?: number;
  /** Of a plate below all supports, 0 to 20; the part must be lifted 0.5 mm more. Default 0: none. */
  raftThickness?: number;
  /** Of the rods between slender pillars, 0.1 to 20; they stay thinner than these. Default 0.6. */
  braceDiameter?: number;
  /** Of pillars from each other, at most, for braces, 0 to 100; 0 is none. Default 10. */
  braceReach?: number;
}

export const defaultScaffold: Readonly<Required<ScaffoldSettings>> = {
  tipDiameter: 0.4,
  tipLength: 2,
  penetration: 0.2,
  pillarDiameter: 1,
  footDiameter: 3,
  footHeight: 0.5,
  clearance: 0.3,
  raftThickness: 0,
  braceDiameter: 0.6,
  braceReach: 10,
};

/** A setting that can't be used, alone or together with the others. */
export interface ScaffoldConflict {
  setting: keyof ScaffoldSettings;
  value: number;
  /** What it must be, with the range; no sentence of its own. */
  range: string;
}

export interface ScaffoldOptions extends ScaffoldSettings {
  /** The part, closed or not. Copied by the call. */
  positions: Triangles;
  /**
   * Where supports are wanted, as supports.json gives them: x and y of the middle of a pixel, z of the
   * lower face of its layer, mm.
   */
  points: readonly { x: number; y: number; z: number }[];
  /** mm: z of the plate in the coordinates of the part. */
  plateZ: number;
  /** mm, of the print. */
  layerHeight: number;
  /** Called about ten times a second with the share that is done, from 0 to 1. */
  progress?: (share: number) => void;
  signal?: AbortSignalLike;
}

/** What a support stands on. */
export type Stand =
  /** A pillar straight down to the plate or the raft. */
  | 'plate'
  /** The same, beside what is in the way: a slanting part leads over to it. */
  | 'bridge'
  /** The part below, with a tip there, too. */
  | 'part'
  /** A cone from the plate: there is no height for more. */
  | 'low';

/** Where a support or a brace is. */
export interface BuiltPiece {
  /** Its closed surface in the positions, in triangles. */
  firstTriangle: number;
  triangles: number;
  /** Its rings, the lowest first. */
  firstRing: number;
  rings: number;
}

export interface BuiltSupport extends BuiltPiece {
  /** Number of its point, from 0. */
  point: number;
  stand: Stand;
}

export interface UnbuiltSupport {
  /** Number of its point, from 0. */
  point: number;
  /** Less than a layer above the plate or the raft; or the part is in the way wherever a pillar might go. */
  reason: 'tooLow' | 'noWay';
}

/** A rod that rises by 45 degrees from the pillar of one support to that of another. */
export interface BuiltBrace extends BuiltPiece {
  /** Numbers of their points, from 0, the lesser one first. */
  first: number;
  second: number;
}

/**
 * The supports of a part: a closed surface for each, seen counter-clockwise from outside, then one for
 * each brace, and one for the raft, the last. They overlap where supports meet and reach into the part by their tips; slicers
 * take the union.
 */
export interface Scaffold {
  positions: Triangles;
  /**
   * Four numbers a ring, mm: x, y and z of its middle, and its radius. Rings lie level; a surface goes
   * straight from one to the next, in 16 sides.
   */
  rings: Float64Array;
  /** In the order of the points. */
  supports: BuiltSupport[];
  leftOut: UnbuiltSupport[];
  /** Between pillars that are at least ten times as high as wide. */
  braces: BuiltBrace[];
  /** Numbers of points, from 0, with such a pillar that no brace holds. */
  alone: number[];
  /** Of the raft; 0 without one. */
  raftTriangles: number;
}

interface NativeScaffoldOptions extends Omit<ScaffoldOptions, 'points' | 'progress' | 'signal'> {
  points: Float64Array;
  listener?: (done: number, total: number) => void;
}

interface ScaffoldBinding {
  /** Throws for options that are none; the result rejects for what fails at work. */
  startScaffold(options: NativeScaffoldOptions): WatchedWork<Scaffold>;
  findScaffoldConflict(settings: ScaffoldSettings, lift: number): ScaffoldConflict | undefined;
}

/**
 * Builds the supports of given points, off the main thread and on all cores: a tip on the part, a pillar
 * down to the plate, past the part where it is in the way, or on the part where nothing else is left.
 * None but the tips touch the part. The same for any number of workers.
 *
 * Rejects with a TypeError or a RangeError for options that are none; with an Error with the code
 * ERR_STILTFORGE_PARAMETER for a raft without room below the part, ERR_STILTFORGE_MESH for a mesh that
 * can't be used or lies too far from the origin, ERR_STILTFORGE_MEMORY when memory runs out; with the
 * signal's reason when it is aborted.
 */
export async function buildScaffold(options: ScaffoldOptions): Promise<Scaffold> {
  requireObject(options, 'The argument', 'options');
  const { points, progress, signal, ...rest } = options;
  if (!Array.isArray(points)) {
    throw new TypeError('The option "points" must be an array of objects with x, y and z.');
  }
  const places = new Float64Array(3 * points.length);
  points.forEach((point, i) => {
    requireObject(point, `Point ${i} (counted from 0)`, 'x, y and z');
    places.set([point.x, point.y, point.z], 3 * i);
  });
  const { startScaffold } = binding<ScaffoldBinding>();
  return watched(
    (listener) => startScaffold({ ...rest, points: places, listener }),
    progress && ((done, total) => progress(done / total)),
    signal,
  );
}

/** The first setting that can't be used for a part that is lifted by so many mm; undefined when all can. */
export function findScaffoldConflict(
  settings: ScaffoldSettings,
  lift = 0,
): ScaffoldConflict | undefined {
  return binding<ScaffoldBinding>().findScaffoldConflict(settings, lift);
}
