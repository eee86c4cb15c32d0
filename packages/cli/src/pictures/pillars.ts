import type { Triangles } from '../mesh/triangles.js';
import type { Vector } from './scene_raster.js';

/** A thin upright from a support point down to what it stands on. */
export interface Pillar {
  x: number;
  y: number;
  top: number;
  bottom: number;
}

/** Surfaces nearer than this below a point are the overhang itself, not something to stand on. */
const clearance = 0.5;

/**
 * A pillar for each point: straight down to the highest surface of the mesh below it, or to the plate
 * at `plateZ`.
 */
export function pillarsBelow(points: readonly Vector[], mesh: Triangles, plateZ: number): Pillar[] {
  const pillars = points.map(([x, y, z]) => ({ x, y, top: z, bottom: plateZ }));
  const byX = [...pillars].sort((a, b) => a.x - b.x);
  for (let i = 0; i < mesh.length; i += 9) {
    const low = Math.min(mesh[i], mesh[i + 3], mesh[i + 6]);
    const high = Math.max(mesh[i], mesh[i + 3], mesh[i + 6]);
    for (let k = firstFrom(byX, low); k < byX.length && byX[k].x <= high; k++) {
      const z = heightAt(mesh, i, byX[k].x, byX[k].y);
      if (z < byX[k].top - clearance && z > byX[k].bottom) byX[k].bottom = z;
    }
  }
  return pillars;
}

function firstFrom(byX: readonly Pillar[], x: number): number {
  let low = 0;
  let high = byX.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (byX[middle].x < x) low = middle + 1;
    else high = middle;
  }
  return low;
}

/** z of the triangle over (x, y), NaN where it isn't. */
function heightAt(mesh: Triangles, i: number, x: number, y: number): number {
  const [ax, ay, az] = [mesh[i], mesh[i + 1], mesh[i + 2]];
  const [bx, by, bz] = [mesh[i + 3], mesh[i + 4], mesh[i + 5]];
  const [cx, cy, cz] = [mesh[i + 6], mesh[i + 7], mesh[i + 8]];
  const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
  const wa = ((bx - x) * (cy - y) - (by - y) * (cx - x)) / area;
  const wb = ((cx - x) * (ay - y) - (cy - y) * (ax - x)) / area;
  const wc = 1 - wa - wb;
  return wa >= 0 && wb >= 0 && wc >= 0 ? wa * az + wb * bz + wc * cz : NaN;
}

/** Triangles and normals of a pillar: a tube that narrows to its tip over the last millimetre. */
export function pillarSurface(pillar: Pillar, radius: number): [number[], number[]] {
  const sides = 10;
  const neck = Math.max(pillar.bottom, pillar.top - 1);
  const rings = [
    [pillar.bottom, radius],
    [neck, radius],
    [pillar.top, radius / 3],
  ];
  const positions: number[] = [];
  const normals: number[] = [];
  const corner = (side: number, [z, r]: number[]): void => {
    const angle = (2 * Math.PI * side) / sides;
    const [c, s] = [Math.cos(angle), Math.sin(angle)];
    positions.push(pillar.x + r * c, pillar.y + r * s, z);
    normals.push(c, s, 0);
  };
  for (let ring = 0; ring + 1 < rings.length; ring++) {
    for (let side = 0; side < sides; side++) {
      corner(side, rings[ring]);
      corner(side + 1, rings[ring]);
      corner(side + 1, rings[ring + 1]);
      corner(side, rings[ring]);
      corner(side + 1, rings[ring + 1]);
      corner(side, rings[ring + 1]);
    }
  }
  return [positions, normals];
}
