import type { GridMesh } from '../../src/mesh_codec.js';

/** Faces that meet at a smaller angle are shaded as one curved surface. */
const creaseCosine = Math.cos((40 * Math.PI) / 180);

/** Triangles apart from each other: nine positions, normals and one tint for each corner. */
export interface ShadedSurface {
  positions: Float32Array;
  normals: Float32Array;
  /** 1 where a face lies flatter than the critical angle and looks down, else 0. */
  tints: Float32Array;
}

/**
 * The mesh with normals that round what is meant to be round. `scale`: mm for a step of the grid along
 * each axis; the corner of the box is the origin. criticalAngle: degrees from the plate.
 */
export function shadedSurface(
  { corners, triangles }: GridMesh,
  scale: readonly number[],
  criticalAngle: number,
): ShadedSurface {
  const faces = triangles.length / 3;
  const place = (vertex: number, axis: number): number => corners[3 * vertex + axis] * scale[axis];
  // Twice the area long.
  const faceNormals = new Float32Array(3 * faces);
  for (let face = 0; face < faces; face++) {
    const [a, b, c] = [triangles[3 * face], triangles[3 * face + 1], triangles[3 * face + 2]];
    const ux = place(b, 0) - place(a, 0);
    const uy = place(b, 1) - place(a, 1);
    const uz = place(b, 2) - place(a, 2);
    const vx = place(c, 0) - place(a, 0);
    const vy = place(c, 1) - place(a, 1);
    const vz = place(c, 2) - place(a, 2);
    faceNormals[3 * face] = uy * vz - uz * vy;
    faceNormals[3 * face + 1] = uz * vx - ux * vz;
    faceNormals[3 * face + 2] = ux * vy - uy * vx;
  }
  const lengths = new Float32Array(faces);
  for (let face = 0; face < faces; face++) {
    lengths[face] =
      Math.hypot(faceNormals[3 * face], faceNormals[3 * face + 1], faceNormals[3 * face + 2]) || 1;
  }
  // The faces round each vertex, one list behind the other.
  const starts = new Uint32Array(corners.length / 3 + 1);
  for (const vertex of triangles) starts[vertex + 1]++;
  for (let vertex = 0; vertex + 1 < starts.length; vertex++) starts[vertex + 1] += starts[vertex];
  const next = starts.slice(0, -1);
  const around = new Uint32Array(triangles.length);
  triangles.forEach((vertex, corner) => {
    around[next[vertex]++] = (corner / 3) | 0;
  });

  const positions = new Float32Array(9 * faces);
  const normals = new Float32Array(9 * faces);
  const tints = new Float32Array(3 * faces);
  const tintFrom = -Math.cos((criticalAngle * Math.PI) / 180);
  for (let corner = 0; corner < triangles.length; corner++) {
    const vertex = triangles[corner];
    const face = (corner / 3) | 0;
    const length = lengths[face];
    const nx = faceNormals[3 * face];
    const ny = faceNormals[3 * face + 1];
    const nz = faceNormals[3 * face + 2];
    let sumX = 0;
    let sumY = 0;
    let sumZ = 0;
    for (let i = starts[vertex]; i < starts[vertex + 1]; i++) {
      const other = around[i];
      const [ox, oy, oz] = [
        faceNormals[3 * other],
        faceNormals[3 * other + 1],
        faceNormals[3 * other + 2],
      ];
      if (nx * ox + ny * oy + nz * oz < creaseCosine * length * lengths[other]) continue;
      sumX += ox;
      sumY += oy;
      sumZ += oz;
    }
    const size = Math.hypot(sumX, sumY, sumZ) || 1;
    normals.set([sumX / size, sumY / size, sumZ / size], 3 * corner);
    for (let axis = 0; axis < 3; axis++) positions[3 * corner + axis] = place(vertex, axis);
    tints[corner] = nz / length < tintFrom ? 1 : 0;
  }
  return { positions, normals, tints };
}
