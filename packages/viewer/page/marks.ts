import type { PointRecord } from '../src/document.js';
import type { Palette } from './palette.js';

/** How a point is marked. */
export type Mark = PointRecord['kind'] | 'added';

export const marks: readonly Mark[] = ['island', 'overhang', 'added'];

export function markOf({ kind, reason }: PointRecord): Mark {
  return reason === 'addedForIsland' || reason === 'addedForOverhang' ? 'added' : kind;
}

export function markColour(mark: Mark, palette: Palette): string {
  return {
    island: palette.pointIsland,
    overhang: palette.pointOverhang,
    added: palette.pointAdded,
  }[mark];
}

/**
 * The outline of a mark around (x, y); `radius` is that of the disc. Shapes tell them apart where
 * colours can't: a rhomb under an island, a disc under an overhang, a square for an added point.
 */
export function markPath(
  context: CanvasRenderingContext2D,
  mark: Mark,
  x: number,
  y: number,
  radius: number,
): void {
  context.beginPath();
  if (mark === 'overhang') {
    context.arc(x, y, radius, 0, 2 * Math.PI);
    return;
  }
  if (mark === 'added') {
    const half = 0.92 * radius;
    context.rect(x - half, y - half, 2 * half, 2 * half);
    return;
  }
  const reach = 1.3 * radius;
  context.moveTo(x, y - reach);
  context.lineTo(x + reach, y);
  context.lineTo(x, y + reach);
  context.lineTo(x - reach, y);
  context.closePath();
}
