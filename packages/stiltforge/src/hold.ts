// What is said of a part whose supports are judged or finished. docs/holding.md tells how.

import type { AbortSignalLike } from './waiting.js';

/** How a part was printed, as far as judging its supports needs it. */
export interface SurveyOptions {
  /** mm, side of the square pixels. */
  pixelSize: number;
  /** mm */
  layerHeight: number;
  /** mm, of the layer on the plate; as the others unless set. */
  firstLayerHeight?: number;
  /** Degrees between the plate and a surface that just carries itself. Default: 45. */
  criticalAngle?: number;
  /** mm from the plate, or the part, to a place where a support fits. Default: 0.2. */
  minimumHeight?: number;
  /** mm2 of a layer that one support will hold: large ones need fewer samples of the overhang. Default: 15. */
  supportArea?: number;
}

export interface JudgeOptions {
  /** mm around a point within which it holds an overhang well. Default: 3. */
  nearReach?: number;
  /** mm around a point within which it holds an overhang at all. Default: 5. */
  farReach?: number;
  /** mm; points closer to each other stand in each other's way. Default: 1. */
  spacing?: number;
}

export interface FinishOptions {
  /** mm2 of a layer that one support holds. Default: 15. */
  supportArea?: number;
  /** mm between points that hold the same region, at least. The default follows the area. */
  spacing?: number;
  /** What the finished points are judged by; `spacing` is not above that of the points unless set. */
  judge?: JudgeOptions;
  /** Ends the finishing early; the points may be finished again. */
  signal?: AbortSignalLike;
}

/** A pixel of a layer. */
export interface Place {
  /** From 0, the layer on the plate. */
  layer: number;
  /** Column and row of the slice. */
  x: number;
  y: number;
}

/**
 * Overhanging surface, in mm2: what lies further from the material of the layer below than one and
 * a half layers are high, and than 1.5 pixels.
 */
export interface Surface {
  area: number;
  /** Of it, further than nearReach from every point. */
  beyondNear: number;
  /** Of it, further than farReach from every point. */
  beyondFar: number;
}

/** A region that rests on nothing in the layer where it begins; its place is near its centre. */
export interface IslandVerdict extends Place {
  pixels: number;
  /** A point on its own branch, or material that is held already; null when nothing takes it soon. */
  heldBy: 'point' | 'material' | null;
  /** Number of that point, null unless it is held by one. */
  point: number | null;
  /** Layer in which it is taken. */
  takenIn: number | null;
  /** Whether a support fits below it. */
  hasRoom: boolean;
  /** Whether it lies in a sealed void. */
  isSealed: boolean;
}

/** What a set of points holds of a part. Points are named by their numbers, from 0. */
export interface Verdict {
  /** mm: what they were judged by, see JudgeOptions. */
  nearReach: number;
  farReach: number;
  spacing: number;
  /** How many were judged. */
  points: number;
  /** Bottom first. */
  islands: IslandVerdict[];
  /** Where a support fits. */
  overhang: Surface;
  overhangWithoutRoom: Surface;
  overhangInSealedVoids: Surface;
  /**
   * Places of `overhang` furthest from a point, worst first, where surfaces do not nearly carry
   * themselves; mm, Infinity without any point.
   */
  worst: (Place & { distance: number })[];
  inNoMaterial: number[];
  /** On material that overhangs nowhere near the point. */
  onHeldMaterial: number[];
  withoutRoom: number[];
  inSealedVoids: number[];
  /** Closer than `spacing`, mm; separate when they hold regions that stay separate. */
  closePairs: { first: number; second: number; distance: number; isSeparate: boolean }[];
}

/** How the analysis weighed the region that a point stands in; docs/algorithm.md has the words. */
export interface RegionRecord {
  /** Its number in the layer, from 1. */
  region: number;
  pixels: number;
  /** Of them, those on material of the layer below. */
  resting: number;
  /** Of them, those with a support value below 255. */
  overhanging: number;
  /** Layers of material below it without a gap. */
  layersBelow: number;
  /** Supports of lower layers that it stands on. */
  supportsBelow: number;
  /** Strength that the layer below passes up, pixels. */
  fromBelow: number;
  /** Weight that nothing held, pixels: what supports were placed for. */
  owed: number;
  /** Supports that the analysis placed in it. */
  supports: number;
}

interface HeldPoint extends Place {
  /** Meant for an island. */
  isIsland: boolean;
  /** Null where no analysis was made. */
  region: RegionRecord | null;
}

export interface FinishedSupport extends HeldPoint {
  /**
   * `analysed`: the analysis placed it; `merged`: the same, and it stands for others, too;
   * `addedForIsland`: nothing held an island; `addedForOverhang`: it closes a gap between the points.
   */
  reason: 'analysed' | 'merged' | 'addedForIsland' | 'addedForOverhang';
  /** Its number among the points before; null for an added one. */
  analysed: number | null;
  /** Numbers, among the points before, of those that it stands for. */
  mergedIn: number[];
}

export interface DroppedSupport extends HeldPoint {
  /**
   * `merged`: another holds what it held; `holdsLittle`: it held next to nothing; `holdsNothing`:
   * nothing overhangs there; `noRoom`: no support fits; `sealedVoid`: it could not be taken out.
   */
  reason: 'merged' | 'holdsLittle' | 'noRoom' | 'sealedVoid' | 'holdsNothing';
  /** Its number among the points before. */
  analysed: number;
  /** Number of the finished support that it was merged into; else null. */
  into: number | null;
}

export interface FinishedSupports {
  /** Bottom first, within a layer by row, then column. */
  supports: FinishedSupport[];
  /** The points before that are not among them, in their order. */
  dropped: DroppedSupport[];
  /** Steep overhang, mm2, that no support can hold. */
  leftAlone: {
    /** Too close to the plate for a support. */
    areaNearPlate: number;
    /** Too close to the part below. */
    areaNearPart: number;
    /** In sealed voids. */
    sealedArea: number;
    /** mm to lift the part so that supports fit below all that is too close to the plate. */
    lift: number;
  };
  /** mm between points of the same region, at least. */
  spacing: number;
  /**
   * Numbers, in the verdict, of islands that get no point in time: none fits or could be taken
   * out, or they are lone pixels on which nothing grows.
   */
  islandsLeft: number[];
  /** On the finished supports. */
  verdict: Verdict;
}
