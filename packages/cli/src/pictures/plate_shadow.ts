import type { Triangles } from 'stiltforge/slicing';

const finestCell = 0.5; // mm
const mostCells = 1000; // along a side
const blurRadius = 2.5; // mm
const fadeHeight = 12; // mm above the plate at which the shadow has faded to a third

/** How dark a plate is in square cells, 0 to 1, row by row; the first cell at x = y = -reach. */
export interface PlateShadow {
  darkness: Float32Array;
  /** Cells along a side. */
  side: number;
  /** mm */
  cell: number;
  reach: number;
}

export function darknessAt(
  { darkness, side, cell, reach }: PlateShadow,
  x: number,
  y: number,
): number {
  const column = Math.floor((x + reach) / cell);
  const row = Math.floor((y + reach) / cell);
  const inside = row >= 0 && column >= 0 && row < side && column < side;
  return inside ? darkness[row * side + column] : 0;
}

/** A soft contact shadow: dark where the mesh is near the plate, fading with its height above it. */
export function plateShadow(mesh: Triangles, plateZ: number, reach: number): PlateShadow {
  const cell = Math.max(finestCell, (2 * reach) / mostCells);
  const side = Math.ceil((2 * reach) / cell);
  const radius = Math.round(blurRadius / cell);
  const darkness = new Float32Array(side * side);
  const perCell = 1 / cell;
  for (let i = 0; i < mesh.length; i += 9) {
    const ax = (mesh[i] + reach) * perCell;
    const ay = (mesh[i + 1] + reach) * perCell;
    const bx = (mesh[i + 3] + reach) * perCell;
    const by = (mesh[i + 4] + reach) * perCell;
    const cx = (mesh[i + 6] + reach) * perCell;
    const cy = (mesh[i + 7] + reach) * perCell;
    const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
    if (area === 0) continue;
    const z = Math.min(mesh[i + 2], mesh[i + 5], mesh[i + 8]);
    const shade = Math.exp((plateZ - z) / fadeHeight);
    const lastRow = Math.min(side - 1, Math.max(ay, by, cy));
    const lastColumn = Math.min(side - 1, Math.max(ax, bx, cx));
    const firstColumn = Math.max(0, Math.floor(Math.min(ax, bx, cx)));
    for (let row = Math.max(0, Math.floor(Math.min(ay, by, cy))); row <= lastRow; row++) {
      const y = row + 0.5;
      for (let column = firstColumn; column <= lastColumn; column++) {
        const x = column + 0.5;
        const wa = ((bx - x) * (cy - y) - (by - y) * (cx - x)) / area;
        const wb = ((cx - x) * (ay - y) - (cy - y) * (ax - x)) / area;
        if (wa < -0.1 || wb < -0.1 || wa + wb > 1.1) continue;
        const at = row * side + column;
        if (shade > darkness[at]) darkness[at] = shade;
      }
    }
  }
  for (let pass = 0; pass < 2; pass++) {
    blurLines(darkness, side, radius, 1, side);
    blurLines(darkness, side, radius, side, 1);
  }
  return { darkness, side, cell, reach };
}

/** A running mean along each line of a square grid. */
function blurLines(
  values: Float32Array,
  side: number,
  radius: number,
  step: number,
  lineStep: number,
): void {
  const line = new Float32Array(side);
  for (let k = 0; k < side; k++) {
    for (let i = 0; i < side; i++) line[i] = values[k * lineStep + i * step];
    let sum = 0;
    for (let i = -radius; i < side; i++) {
      if (i + radius < side) sum += line[i + radius];
      if (i - radius - 1 >= 0) sum -= line[i - radius - 1];
      if (i >= 0) values[k * lineStep + i * step] = sum / (2 * radius + 1);
    }
  }
}
