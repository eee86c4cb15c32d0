import { MeshoptSimplifier } from 'meshoptimizer/simplifier';
import type { GridMesh } from './mesh_codec.js';

export interface Box {
  min: readonly number[];
  max: readonly number[];
}

/** More than these would be slow to turn, and they show no more on a screen. */
const mostTriangles = 250_000;
/** Larger meshes are laid on a coarser grid first, which makes them small enough for the simplifier. */
const mostForFineGrid = 3_000_000;
const fineSteps = 65_535;
const coarseSteps = 1_023;

/** Of the part's largest extent, how far the simplifier may move the surface. */
const mostError = 0.02;

/**
 * The triangles, nine numbers each, on a grid over `box`, fewer of them where there are many; corners a
 * little beyond the box, as the surface of layers has them, come to its sides. Resolves to the mesh and to
 * how far those within may have moved along each axis, in units of the box.
 */
export async function gridMesh(
  positions: Float32Array,
  box: Box,
): Promise<{ mesh: GridMesh; tolerance: number }> {
  const isLarge = positions.length / 9 > mostForFineGrid;
  const welded = weld(positions, box, isLarge ? coarseSteps : fineSteps);
  const extent = Math.max(...box.max.map((top, axis) => top - box.min[axis]));
  const step = extent / (isLarge ? coarseSteps : fineSteps);
  if (welded.triangles.length / 3 <= mostTriangles) return { mesh: welded, tolerance: step / 2 };
  await MeshoptSimplifier.ready;
  // In equal units along all axes, so that its error means the same everywhere.
  const scale = box.max.map((top, axis) => (top - box.min[axis]) / fineSteps);
  const places = Float32Array.from(welded.corners, (value, i) => value * scale[i % 3]);
  const [kept, error] = MeshoptSimplifier.simplify(
    welded.triangles,
    places,
    3,
    3 * mostTriangles,
    mostError,
  );
  const tolerance = step / 2 + error * extent;
  return { mesh: { corners: welded.corners, triangles: kept }, tolerance };
}

/** Corners that fall on the same place of the grid become one; triangles that lose their area go. */
function weld(positions: Float32Array, { min, max }: Box, steps: number): GridMesh {
  const factor = max.map((top, axis) => (top > min[axis] ? steps / (top - min[axis]) : 0));
  const fine = fineSteps / steps;
  const placeOf = (value: number, axis: number): number =>
    Math.min(Math.max(Math.round((value - min[axis]) * factor[axis]), 0), steps);
  const numbers = new Map<number, number>();
  const corners: number[] = [];
  const triangles: number[] = [];
  const corner = [0, 0, 0];
  for (let at = 0; at + 8 < positions.length; at += 9) {
    for (let c = 0; c < 3; c++) {
      const x = placeOf(positions[at + 3 * c], 0);
      const y = placeOf(positions[at + 3 * c + 1], 1);
      const z = placeOf(positions[at + 3 * c + 2], 2);
      const key = x + 65_536 * (y + 65_536 * z);
      let number = numbers.get(key);
      if (number === undefined) {
        number = numbers.size;
        numbers.set(key, number);
        corners.push(Math.round(x * fine), Math.round(y * fine), Math.round(z * fine));
      }
      corner[c] = number;
    }
    const [a, b, c] = corner;
    if (a !== b && b !== c && c !== a) triangles.push(a, b, c);
  }
  return { corners: Uint16Array.from(corners), triangles: Uint32Array.from(triangles) };
}
