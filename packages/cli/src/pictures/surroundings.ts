import type { Triangles } from 'stiltforge/slicing';
import { firstFrom } from './ascending.js';
import type { Vector } from './camera.js';

/** The triangles of a mesh near each of some points. */
export class Surroundings {
  private readonly near: number[][];

  /** `points`: x, y, z, x, y, z ...; `radius` in millimetres. */
  constructor(
    private readonly mesh: Triangles,
    points: Float32Array,
    radius: number,
  ) {
    this.near = Array.from({ length: points.length / 3 }, () => []);
    const byX = Uint32Array.from(this.near, (_, point) => point).sort(
      (a, b) => points[3 * a] - points[3 * b],
    );
    const xs = Float32Array.from(byX, (point) => points[3 * point]);
    for (let i = 0; i < mesh.length; i += 9) {
      const right = Math.max(mesh[i], mesh[i + 3], mesh[i + 6]) + radius;
      let k = firstFrom(xs, Math.min(mesh[i], mesh[i + 3], mesh[i + 6]) - radius);
      for (; k < xs.length && xs[k] <= right; k++) {
        const point = byX[k];
        const y = points[3 * point + 1];
        const z = points[3 * point + 2];
        if (Math.min(mesh[i + 1], mesh[i + 4], mesh[i + 7]) - radius > y) continue;
        if (Math.max(mesh[i + 1], mesh[i + 4], mesh[i + 7]) + radius < y) continue;
        if (Math.min(mesh[i + 2], mesh[i + 5], mesh[i + 8]) - radius > z) continue;
        if (Math.max(mesh[i + 2], mesh[i + 5], mesh[i + 8]) + radius < z) continue;
        this.near[point].push(i);
      }
    }
  }

  /** Whether a surface lies between two places near point number `point`. */
  separate(point: number, from: Vector, to: Vector): boolean {
    const { mesh } = this;
    const [fx, fy, fz] = from;
    const dx = to[0] - fx;
    const dy = to[1] - fy;
    const dz = to[2] - fz;
    for (const i of this.near[point]) {
      const ux = mesh[i + 3] - mesh[i];
      const uy = mesh[i + 4] - mesh[i + 1];
      const uz = mesh[i + 5] - mesh[i + 2];
      const vx = mesh[i + 6] - mesh[i];
      const vy = mesh[i + 7] - mesh[i + 1];
      const vz = mesh[i + 8] - mesh[i + 2];
      const px = dy * vz - dz * vy;
      const py = dz * vx - dx * vz;
      const pz = dx * vy - dy * vx;
      const determinant = ux * px + uy * py + uz * pz;
      if (determinant === 0) continue;
      const sx = fx - mesh[i];
      const sy = fy - mesh[i + 1];
      const sz = fz - mesh[i + 2];
      const u = (sx * px + sy * py + sz * pz) / determinant;
      if (u < 0 || u > 1) continue;
      const qx = sy * uz - sz * uy;
      const qy = sz * ux - sx * uz;
      const qz = sx * uy - sy * ux;
      const v = (dx * qx + dy * qy + dz * qz) / determinant;
      if (v < 0 || u + v > 1) continue;
      const t = (vx * qx + vy * qy + vz * qz) / determinant;
      if (t > 0 && t < 1) return true;
    }
    return false;
  }
}
