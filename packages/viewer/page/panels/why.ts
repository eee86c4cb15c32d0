import type { PointRecord } from '../../src/document.js';
import type { ViewedPart } from '../part.js';
import { area } from '../words.js';

/** Why a point is there: what it holds, and what called for it. */
export function whyOf(part: ViewedPart, point: PointRecord): { title: string; detail: string } {
  const { layer, region, kind } = point;
  if (kind === 'overhang') {
    return {
      title: `Overhang of region ${region}`,
      detail: 'More of it hangs over than what is below can hold.',
    };
  }
  const island = part.document.islands.find((one) => one.layer === layer && one.region === region);
  const { pixelSize } = part.document.part.print;
  const size = island === undefined ? '' : ` with ${area(island.pixels * pixelSize ** 2)}`;
  return { title: `Island, region ${region}`, detail: `It begins here in the air${size}.` };
}
