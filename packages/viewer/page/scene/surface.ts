import type { GridMesh } from '../../src/mesh_codec.js';

/** Faces that meet at a smaller angle are shaded as one curved surface. */
const creaseCosine = Math.cos((40 * Math.PI) / 180);

/** Faces that are worked on, and drawn for the first time, at once: a page stays alive between them. */
const facesAtOnce = 32_768;

/** Triangles apart from each other: nine positions, normals and one tint for each corner. */
export interface ShadedSurface {
  positions: Float32Array;
  normals: Float32Array;
  /** 1 where a face lies flatter than the critical angle and looks down, else 0. */
  tints: Float32Array;
}

/**
 * The mesh, piece by piece, with normals that round what is meant to be round; undefined between steps
 * that have no piece yet. `scale`: mm for a step of the grid along each axis; the corner of the box is the
 * origin. criticalAngle: degrees from the plate.
 */
export function* shadedSurface(
  mesh: GridMesh,
  scale: readonly number[],
  criticalAngle: number,
): Generator<ShadedSurface | undefined> {
  const faces = mesh.triangles.length / 3;
  const normals = new FaceNormals(mesh, scale);
  for (let first = 0; first < faces; first += facesAtOnce) {
    normals.measure(first, Math.min(faces, first + facesAtOnce));
    yield undefined;
  }
  const around = facesAround(mesh);
  yield undefined;
  const tintFrom = -Math.cos((criticalAngle * Math.PI) / 180);
  for (let first = 0; first < faces; first += facesAtOnce) {
    const count = Math.min(faces - first, facesAtOnce);
    const piece = {
      positions: new Float32Array(9 * count),
      normals: new Float32Array(9 * count),
      tints: new Float32Array(3 * count),
    };
    for (let corner = 0; corner < 3 * count; corner++) {
      const vertex = mesh.triangles[3 * first + corner];
      const face = first + ((corner / 3) | 0);
      normals.roundedAt(vertex, face, around, piece.normals, 3 * corner);
      for (let axis = 0; axis < 3; axis++) {
        piece.positions[3 * corner + axis] = mesh.corners[3 * vertex + axis] * scale[axis];
      }
      piece.tints[corner] = normals.slopeOf(face) < tintFrom ? 1 : 0;
    }
    yield piece;
  }
}

/** The faces round each vertex, one list behind the other, and where each begins. */
interface Around {
  starts: Uint32Array;
  faces: Uint32Array;
}

function facesAround({ corners, triangles }: GridMesh): Around {
  const starts = new Uint32Array(corners.length / 3 + 1);
  for (const vertex of triangles) starts[vertex + 1]++;
  for (let vertex = 0; vertex + 1 < starts.length; vertex++) starts[vertex + 1] += starts[vertex];
  const next = starts.slice(0, -1);
  const faces = new Uint32Array(triangles.length);
  triangles.forEach((vertex, corner) => {
    faces[next[vertex]++] = (corner / 3) | 0;
  });
  return { starts, faces };
}

class FaceNormals {
  /** Twice the area long. */
  private readonly normals: Float32Array;
  private readonly lengths: Float32Array;

  constructor(
    private readonly mesh: GridMesh,
    private readonly scale: readonly number[],
  ) {
    this.normals = new Float32Array(mesh.triangles.length);
    this.lengths = new Float32Array(mesh.triangles.length / 3);
  }

  /** Faces from `first` to `end`, which is not among them. */
  measure(first: number, end: number): void {
    const { normals, lengths, scale } = this;
    const { corners, triangles } = this.mesh;
    const place = (vertex: number, axis: number): number =>
      corners[3 * vertex + axis] * scale[axis];
    for (let face = first; face < end; face++) {
      const [a, b, c] = [triangles[3 * face], triangles[3 * face + 1], triangles[3 * face + 2]];
      const ux = place(b, 0) - place(a, 0);
      const uy = place(b, 1) - place(a, 1);
      const uz = place(b, 2) - place(a, 2);
      const vx = place(c, 0) - place(a, 0);
      const vy = place(c, 1) - place(a, 1);
      const vz = place(c, 2) - place(a, 2);
      normals[3 * face] = uy * vz - uz * vy;
      normals[3 * face + 1] = uz * vx - ux * vz;
      normals[3 * face + 2] = ux * vy - uy * vx;
      lengths[face] =
        Math.hypot(normals[3 * face], normals[3 * face + 1], normals[3 * face + 2]) || 1;
    }
  }

  /** Upwards 1, downwards -1. */
  slopeOf(face: number): number {
    return this.normals[3 * face + 2] / this.lengths[face];
  }

  /** The mean of the faces at a vertex that go on smoothly from this one, of length 1. */
  roundedAt(
    vertex: number,
    face: number,
    { starts, faces }: Around,
    target: Float32Array,
    at: number,
  ): void {
    const { normals, lengths } = this;
    const length = lengths[face];
    const nx = normals[3 * face];
    const ny = normals[3 * face + 1];
    const nz = normals[3 * face + 2];
    let sumX = 0;
    let sumY = 0;
    let sumZ = 0;
    for (let i = starts[vertex]; i < starts[vertex + 1]; i++) {
      const other = faces[i];
      const ox = normals[3 * other];
      const oy = normals[3 * other + 1];
      const oz = normals[3 * other + 2];
      if (nx * ox + ny * oy + nz * oz < creaseCosine * length * lengths[other]) continue;
      sumX += ox;
      sumY += oy;
      sumZ += oz;
    }
    const size = Math.hypot(sumX, sumY, sumZ) || 1;
    target[at] = sumX / size;
    target[at + 1] = sumY / size;
    target[at + 2] = sumZ / size;
  }
}
