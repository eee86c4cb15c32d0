import type { Triangles } from '../mesh/triangles.js';

const finestCell = 0.5; // mm
const mostCells = 1000; // along a side
const blurRadius = 2.5; // mm
const fadeHeight = 12; // mm above the plate at which the shadow has faded to a third

/** How dark the plate is below the mesh, 0 to 1, at a place in millimetres. */
export type PlateShadow = (x: number, y: number) => number;

/** A soft contact shadow: dark where the mesh is near the plate, fading with its height above it. */
export function plateShadow(mesh: Triangles, plateZ: number, reach: number): PlateShadow {
  const cell = Math.max(finestCell, (2 * reach) / mostCells);
  const side = Math.ceil((2 * reach) / cell);
  const radius = Math.round(blurRadius / cell);
  const dark = new Float32Array(side * side);
  const toCell = (value: number): number => (value + reach) / cell;
  for (let i = 0; i < mesh.length; i += 9) {
    const xs = [mesh[i], mesh[i + 3], mesh[i + 6]].map(toCell);
    const ys = [mesh[i + 1], mesh[i + 4], mesh[i + 7]].map(toCell);
    const z = Math.min(mesh[i + 2], mesh[i + 5], mesh[i + 8]);
    const shade = Math.exp(-(z - plateZ) / fadeHeight);
    const area = (xs[1] - xs[0]) * (ys[2] - ys[0]) - (ys[1] - ys[0]) * (xs[2] - xs[0]);
    if (area === 0) continue;
    for (let row = Math.floor(Math.min(...ys)); row <= Math.max(...ys); row++) {
      for (let column = Math.floor(Math.min(...xs)); column <= Math.max(...xs); column++) {
        if (row < 0 || column < 0 || row >= side || column >= side) continue;
        const x = column + 0.5;
        const y = row + 0.5;
        const wa = ((xs[1] - x) * (ys[2] - y) - (ys[1] - y) * (xs[2] - x)) / area;
        const wb = ((xs[2] - x) * (ys[0] - y) - (ys[2] - y) * (xs[0] - x)) / area;
        if (wa < -0.1 || wb < -0.1 || wa + wb > 1.1) continue;
        const at = row * side + column;
        dark[at] = Math.max(dark[at], shade);
      }
    }
  }
  for (let pass = 0; pass < 2; pass++) {
    blurLines(dark, side, radius, 1, side);
    blurLines(dark, side, radius, side, 1);
  }
  return (x, y) => {
    const column = Math.floor(toCell(x));
    const row = Math.floor(toCell(y));
    const inside = row >= 0 && column >= 0 && row < side && column < side;
    return inside ? dark[row * side + column] : 0;
  };
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
      sum += line[i + radius] ?? 0;
      if (i - radius - 1 >= 0) sum -= line[i - radius - 1];
      if (i >= 0) values[k * lineStep + i * step] = sum / (2 * radius + 1);
    }
  }
}
