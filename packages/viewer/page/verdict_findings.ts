import type { DroppedRecord, PixelPlace, VerdictRecord } from '../src/document.js';
import type { Finding } from './finding.js';
import type { ViewedPart } from './part.js';
import { area, counted } from './words.js';

/** What the judge says of the points, as findings. */
export function verdictFindings(part: ViewedPart, verdict: VerdictRecord): Finding[] {
  return [
    ...unheldIslands(verdict),
    ...farOverhang(verdict),
    ...idlePoints(part, verdict),
    ...closePoints(part, verdict),
  ];
}

function unheldIslands({ islands }: VerdictRecord): Finding[] {
  const speck = islands.filter(({ pixels }) => pixels === 1);
  const larger = islands.filter(({ pixels }) => pixels > 1);
  const why = (list: VerdictRecord['islands']): string => {
    const sealed = list.filter(({ isSealed }) => isSealed).length;
    const tight = list.filter(({ hasRoom, isSealed }) => !hasRoom && !isSealed).length;
    return [
      'Neither a point nor material that is held takes them soon.',
      ...(tight > 0 ? [`Below ${tight} of them no support fits.`] : []),
      ...(sealed > 0 ? [`${sealed} lie in a sealed void.`] : []),
    ].join(' ');
  };
  const finding = (list: VerdictRecord['islands'], title: string, weight: Finding['weight']) =>
    list.length === 0 ? [] : [{ weight, title, detail: why(list), places: list }];
  return [
    ...finding(
      larger,
      counted(larger.length, 'island that nothing holds', 'islands that nothing holds'),
      'fault',
    ),
    ...finding(
      speck,
      counted(speck.length, 'island of a pixel that nothing holds', 'islands of a pixel unheld'),
      'warning',
    ),
  ];
}

/** mm2 beyond the far reach from which on it is a gap: about the tip of a support. */
const leastGap = 0.125;

/** Whether a place that needs a point has none within the far reach, with more than a few pixels. */
export function leavesGaps({ worst, farReach, overhang }: VerdictRecord): boolean {
  const isFar = worst.some(({ distance }) => distance === null || distance > farReach);
  return isFar && overhang.beyondFar >= leastGap;
}

/** Overhang further from the points than they reach. */
function farOverhang(verdict: VerdictRecord): Finding[] {
  const { overhang, worst, nearReach, farReach } = verdict;
  if (worst.length === 0) return [];
  const [{ distance }] = worst;
  const share = (part: number): string =>
    overhang.area === 0 ? '0 %' : `${((100 * part) / overhang.area).toFixed(1)} %`;
  const beyond = `${share(overhang.beyondNear)} of it lies beyond ${nearReach} mm, ${share(overhang.beyondFar)} beyond ${farReach} mm.`;
  return [
    {
      weight: leavesGaps(verdict) ? 'warning' : 'note',
      title:
        distance === null
          ? 'Overhang without any point'
          : `Overhang up to ${distance.toFixed(1)} mm from a point`,
      detail: `${area(overhang.area)} hang over where a support fits. ${beyond}`,
      places: worst,
    },
  ];
}

/** Points that do not do what a point is for. */
function idlePoints(part: ViewedPart, verdict: VerdictRecord): Finding[] {
  const kinds: [points: number[], what: string, why: string][] = [
    [verdict.inNoMaterial, 'in no material', 'Their tips touch nothing.'],
    [verdict.withoutRoom, 'without room', 'No support fits below them.'],
    [verdict.inSealedVoids, 'in a sealed void', 'Their supports could not be taken out.'],
    [verdict.onHeldMaterial, 'where nothing overhangs', 'They hold nothing, and mark the part.'],
  ];
  return kinds
    .filter(([points]) => points.length > 0)
    .map(([points, what, why]) => ({
      weight: 'warning',
      title: `${counted(points.length, 'point')} ${what}`,
      detail: why,
      places: points.map((index) => part.points[index]),
    }));
}

function closePoints(part: ViewedPart, { closePairs }: VerdictRecord): Finding[] {
  const pairs = closePairs.filter(({ isSeparate }) => !isSeparate);
  if (pairs.length === 0) return [];
  return [
    {
      weight: 'note',
      title: `${counted(pairs.length, 'pair')} of points close together`,
      detail: 'They hold the same material and stand in each other’s way.',
      places: pairs.map(({ first }) => part.points[first]),
    },
  ];
}

/** What became of a point of the analysis, and why. */
const dropped: Record<DroppedRecord['reason'], [what: string, why: string]> = {
  merged: ['merged into others', 'Another point holds what they held.'],
  holdsLittle: ['left out: little to hold', 'They held next to nothing.'],
  holdsNothing: ['left out: nothing to hold', 'Nothing overhangs there.'],
  noRoom: ['left out: no room', 'No support fits below them.'],
  sealedVoid: ['left out: in a sealed void', 'Their supports could not be taken out.'],
};

/** Points of the analysis that were left out, one finding for each reason. */
export function droppedFindings(points: readonly DroppedRecord[]): Finding[] {
  return Object.entries(dropped).flatMap(([reason, [what, why]]): Finding[] => {
    const places: PixelPlace[] = points.filter((point) => point.reason === reason);
    if (places.length === 0) return [];
    const title = `${counted(places.length, 'point')} ${what}`;
    return [{ weight: 'note', title, detail: why, places }];
  });
}
