import type { PointRecord } from '../../src/document.js';
import type { ViewedPart } from '../part.js';
import { area, counted } from '../words.js';

/** Why a point is there: what it holds, and what called for it. */
export function whyOf(part: ViewedPart, point: PointRecord): { title: string; detail: string } {
  const { title, cause } = causeOf(part, point);
  const { reason, standsFor = 0 } = point;
  const added = {
    addedForIsland: 'Added, because nothing else held the island.',
    addedForOverhang: 'Added to close a gap between the points.',
  }[reason as string];
  const others = standsFor > 0 ? [`It stands for ${counted(standsFor, 'other point')}, too.`] : [];
  const detail = [added ?? cause, ...weightText(part, point), ...others].join(' ').trim();
  return { title, detail };
}

/** The figures of the region, where the program tells them. */
function weightText(part: ViewedPart, { weight }: PointRecord): string[] {
  if (weight === undefined) return [];
  const inArea = (pixels: number): string => area(pixels * part.document.part.print.pixelSize ** 2);
  const { pixels, resting, overhanging, owed, supports } = weight;
  const shared = supports > 1 ? `, for which it has ${supports} points` : '';
  const alone = owed > 0 ? `; nothing held ${inArea(owed)}${shared}` : '';
  return [
    `Of its ${inArea(pixels)}, ${inArea(resting)} rest on the layer below and ${inArea(overhanging)} hang over${alone}.`,
  ];
}

function causeOf(
  part: ViewedPart,
  { layer, region, kind, weight }: PointRecord,
): { title: string; cause: string } {
  if (region === 0) return { title: 'Support', cause: 'It was given with the part.' };
  if (kind === 'overhang') {
    return {
      title: `Overhang of region ${region}`,
      cause: weight === undefined ? 'More of it hangs over than what is below can hold.' : '',
    };
  }
  const island = part.islandRecords.get(layer)?.find((one) => one.region === region);
  const { pixelSize } = part.document.part.print;
  const size = island === undefined ? '' : ` with ${area(island.pixels * pixelSize ** 2)}`;
  return { title: `Island, region ${region}`, cause: `It begins here in the air${size}.` };
}
