import type { Triangles } from 'stiltforge/slicing';
import { firstFrom } from './ascending.js';

/** Surfaces nearer than this below a point are the overhang itself, not something to stand on. */
const clearance = 0.5;

/**
 * The height on which a pillar straight down from each point (x, y, z, x, y, z ...) stands: the highest
 * surface of the mesh below it, or the plate at `plateZ`.
 */
export function pillarFeet(points: Float32Array, mesh: Triangles, plateZ: number): Float32Array {
  const feet = new Float32Array(points.length / 3).fill(plateZ);
  const byX = Uint32Array.from(feet, (_, point) => point).sort(
    (a, b) => points[3 * a] - points[3 * b],
  );
  const xs = Float32Array.from(byX, (point) => points[3 * point]);
  for (let i = 0; i < mesh.length; i += 9) {
    const right = Math.max(mesh[i], mesh[i + 3], mesh[i + 6]);
    let k = firstFrom(xs, Math.min(mesh[i], mesh[i + 3], mesh[i + 6]));
    for (; k < xs.length && xs[k] <= right; k++) {
      const point = byX[k];
      const z = heightAt(mesh, i, xs[k], points[3 * point + 1]);
      if (z < points[3 * point + 2] - clearance && z > feet[point]) feet[point] = z;
    }
  }
  return feet;
}

/** z of the triangle over (x, y), NaN where it isn't. */
function heightAt(mesh: Triangles, i: number, x: number, y: number): number {
  const ax = mesh[i] - x;
  const ay = mesh[i + 1] - y;
  const bx = mesh[i + 3] - x;
  const by = mesh[i + 4] - y;
  const cx = mesh[i + 6] - x;
  const cy = mesh[i + 7] - y;
  const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
  const wa = (bx * cy - by * cx) / area;
  const wb = (cx * ay - cy * ax) / area;
  const wc = 1 - wa - wb;
  return wa >= 0 && wb >= 0 && wc >= 0
    ? wa * mesh[i + 2] + wb * mesh[i + 5] + wc * mesh[i + 8]
    : NaN;
}

/** Triangles, nine floats each, and a normal for each corner. */
export interface Surface {
  positions: Float32Array;
  normals: Float32Array;
}

const sides = 10;
/** Over so many millimetres below its point a pillar narrows to a third. */
const neck = 1;

/** Thin uprights from their feet to the points: tubes that narrow to their tips. */
export function pillarSurface(points: Float32Array, feet: Float32Array, radius: number): Surface {
  const floats = 9 * 2 * 2 * sides;
  const positions = new Float32Array(floats * feet.length);
  const normals = new Float32Array(floats * feet.length);
  let end = 0;
  feet.forEach((foot, point) => {
    const top = points[3 * point + 2];
    const middle = Math.max(foot, top - neck);
    const corner = (side: number, z: number, r: number): void => {
      const angle = (2 * Math.PI * side) / sides;
      normals[end] = Math.cos(angle);
      normals[end + 1] = Math.sin(angle);
      positions[end] = points[3 * point] + r * normals[end];
      positions[end + 1] = points[3 * point + 1] + r * normals[end + 1];
      positions[end + 2] = z;
      end += 3;
    };
    const ring = (low: number, lowRadius: number, high: number, highRadius: number): void => {
      for (let side = 0; side < sides; side++) {
        corner(side, low, lowRadius);
        corner(side + 1, low, lowRadius);
        corner(side + 1, high, highRadius);
        corner(side, low, lowRadius);
        corner(side + 1, high, highRadius);
        corner(side, high, highRadius);
      }
    };
    ring(foot, radius, middle, radius);
    ring(middle, radius, top, radius / 3);
  });
  return { positions, normals };
}
