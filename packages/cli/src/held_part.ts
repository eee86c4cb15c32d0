import type {
  Analysis,
  DroppedSupport,
  FinishedSupport,
  JudgeOptions,
  RegionRecord,
  Verdict,
} from 'stiltforge/analysis';
import type { PrintSettings, SupportSettings } from 'stiltforge/slicing';

export type SupportKind = 'island' | 'overhang';

/** A point in the slices. */
export interface SlicePoint {
  /** Counted from 0, the layer on the plate. */
  layer: number;
  /** Pixel of the slice. */
  column: number;
  row: number;
  kind: SupportKind;
  /** How the analysis weighed the region that it stands in. */
  region: RegionRecord | null;
}

export interface HeldPoint extends SlicePoint {
  reason: FinishedSupport['reason'];
  /** Numbers, among the dropped ones, of those that it stands for. */
  merged: number[];
}

export interface DroppedPoint extends SlicePoint {
  reason: DroppedSupport['reason'];
  /** Number of the point that stands for it; null when none does. */
  into: number | null;
}

/** The points of a part, and what they hold of it. */
export interface HeldPart {
  points: HeldPoint[];
  dropped: DroppedPoint[];
  verdict: Verdict;
  /** mm, at least, between points of a region; undefined where nothing kept them apart. */
  spacing: number | undefined;
  /** mm to lift the part so that supports fit where it is too close to the plate; 0 where none are wanted. */
  lift: number;
}

/** mm, and pixels: distances of fewer can't be told. */
const nearReach = 3;
const farReach = 5;
const leastReach = 10;

function reachOf({ pixelSize }: PrintSettings): JudgeOptions {
  const least = leastReach * pixelSize;
  return { nearReach: Math.max(nearReach, least), farReach: Math.max(farReach, least) };
}

/** The finished points of an analysis that kept a survey. */
export async function finishedPart(
  analysis: Analysis,
  print: PrintSettings,
  { supportArea, minimumSpacing: spacing }: SupportSettings,
  signal?: AbortSignal,
): Promise<HeldPart> {
  const judge = reachOf(print);
  const finished = await analysis.finishSupports({ supportArea, spacing, judge, signal });
  const numberOf = new Map(finished.dropped.map(({ analysed }, number) => [analysed, number]));
  return {
    points: finished.supports.map((support) => ({
      ...slicePoint(support),
      reason: support.reason,
      merged: support.mergedIn.map((analysed) => numberOf.get(analysed) as number),
    })),
    dropped: finished.dropped.map((point) => ({
      ...slicePoint(point),
      reason: point.reason,
      into: point.into,
    })),
    verdict: finished.verdict,
    spacing: finished.spacing,
    lift: finished.leftAlone.lift,
  };
}

/** The points of the analysis as they are, in its order. */
export async function analysedPart(
  analysis: Analysis,
  print: PrintSettings,
  { supportArea }: SupportSettings,
  signal?: AbortSignal,
): Promise<HeldPart> {
  const judge = reachOf(print);
  // Finishing knows the region of every point, also of those that it leaves out.
  const { supports, dropped } = await analysis.finishSupports({ supportArea, judge, signal });
  const points: (FinishedSupport | DroppedSupport)[] = [];
  for (const point of [...supports, ...dropped]) {
    if (point.analysed !== null) points[point.analysed] = point;
  }
  return {
    points: points.map((point) => ({ ...slicePoint(point), reason: 'analysed', merged: [] })),
    dropped: [],
    verdict: await analysis.judgeSupports(judge),
    spacing: undefined,
    lift: 0,
  };
}

function slicePoint(point: FinishedSupport | DroppedSupport): SlicePoint {
  const { layer, x, y, isIsland, region } = point;
  return { layer, column: x, row: y, kind: isIsland ? 'island' : 'overhang', region };
}

/** Whether finishing placed it. */
export function isAdded({ reason }: Pick<HeldPoint, 'reason'>): boolean {
  return reason === 'addedForIsland' || reason === 'addedForOverhang';
}
