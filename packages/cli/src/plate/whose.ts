import type { PlateMove } from './arrange.js';

/**
 * Tells to which mesh of a plate, from 0, a place belongs that is of one of them: that in whose box it
 * lies, or next to which. Boxes do not overlap on a plate.
 */
export function whoseOf(plate: readonly PlateMove[]): (x: number, y: number) => number {
  const beside = (value: number, min: number, max: number): number =>
    Math.max(min - value, value - max, 0);
  return (x, y) => {
    let nearest = 0;
    let least = Infinity;
    for (const [number, { min, max }] of plate.entries()) {
      const away = Math.hypot(beside(x, min[0], max[0]), beside(y, min[1], max[1]));
      if (away < least) {
        nearest = number;
        least = away;
      }
    }
    return nearest;
  };
}
