import { type HeldPoint, isAdded } from './held_part.js';
import type { PointMark } from './pictures/palette.js';

/** How pictures mark a point that stays. */
export function markOf(point: Pick<HeldPoint, 'kind' | 'reason'>): PointMark {
  return isAdded(point) ? 'added' : point.kind;
}
