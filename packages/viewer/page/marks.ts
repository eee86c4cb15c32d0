import type { PointRecord } from '../src/document.js';

/** Shapes tell the kinds apart where colours can't: a rhomb under an island, a disc under an overhang. */
export type Kind = PointRecord['kind'];

/** The outline of a point's mark around (x, y); `radius` is that of the disc. */
export function markPath(
  context: CanvasRenderingContext2D,
  kind: Kind,
  x: number,
  y: number,
  radius: number,
): void {
  context.beginPath();
  if (kind === 'overhang') {
    context.arc(x, y, radius, 0, 2 * Math.PI);
    return;
  }
  const reach = 1.3 * radius;
  context.moveTo(x, y - reach);
  context.lineTo(x + reach, y);
  context.lineTo(x, y + reach);
  context.lineTo(x - reach, y);
  context.closePath();
}
