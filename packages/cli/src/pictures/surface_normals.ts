import type { Triangles } from 'stiltforge/slicing';

/** Edges sharper than this stay edges. */
const creaseAngle = (40 * Math.PI) / 180;

/** Beyond this many triangles each is so small in the picture that smoothing shows nothing. */
const largestSmoothed = 300_000;

/** A unit normal for each corner, three floats each: smooth over gentle bends, split at sharp edges. */
export function cornerNormals(triangles: Triangles): Float32Array {
  const faces = faceNormals(triangles);
  const normals = new Float32Array(triangles.length);
  if (triangles.length / 9 > largestSmoothed) {
    for (let i = 0; i < normals.length; i++) normals[i] = faces[3 * Math.floor(i / 9) + (i % 3)];
    return normals;
  }
  const { firstOf, triangleOf, vertices } = trianglesOfVertices(triangles);
  const gentle = Math.cos(creaseAngle);
  for (let corner = 0; corner < vertices.length; corner++) {
    const own = 3 * Math.floor(corner / 3);
    let x = 0;
    let y = 0;
    let z = 0;
    const vertex = vertices[corner];
    for (let k = firstOf[vertex]; k < firstOf[vertex + 1]; k++) {
      const other = 3 * triangleOf[k];
      const cosine =
        faces[own] * faces[other] +
        faces[own + 1] * faces[other + 1] +
        faces[own + 2] * faces[other + 2];
      if (cosine < gentle && other !== own) continue;
      x += faces[other];
      y += faces[other + 1];
      z += faces[other + 2];
    }
    const length = Math.sqrt(x * x + y * y + z * z) || 1;
    normals[3 * corner] = x / length;
    normals[3 * corner + 1] = y / length;
    normals[3 * corner + 2] = z / length;
  }
  return normals;
}

/** Unit normals, zero for triangles without area. */
function faceNormals(triangles: Triangles): Float32Array {
  const normals = new Float32Array(triangles.length / 3);
  for (let i = 0, n = 0; i < triangles.length; i += 9, n += 3) {
    const ux = triangles[i + 3] - triangles[i];
    const uy = triangles[i + 4] - triangles[i + 1];
    const uz = triangles[i + 5] - triangles[i + 2];
    const vx = triangles[i + 6] - triangles[i];
    const vy = triangles[i + 7] - triangles[i + 1];
    const vz = triangles[i + 8] - triangles[i + 2];
    const x = uy * vz - uz * vy;
    const y = uz * vx - ux * vz;
    const z = ux * vy - uy * vx;
    const length = Math.sqrt(x * x + y * y + z * z) || 1;
    normals[n] = x / length;
    normals[n + 1] = y / length;
    normals[n + 2] = z / length;
  }
  return normals;
}

interface VertexTriangles {
  /** Of each corner: the number of its position. */
  vertices: Uint32Array;
  /** The triangles at vertex v are triangleOf[firstOf[v]] up to triangleOf[firstOf[v + 1]]. */
  firstOf: Uint32Array;
  triangleOf: Uint32Array;
}

function trianglesOfVertices(triangles: Triangles): VertexTriangles {
  const { vertices, count } = vertexNumbers(triangles);
  const firstOf = new Uint32Array(count + 1);
  for (const vertex of vertices) firstOf[vertex + 1]++;
  for (let vertex = 0; vertex < count; vertex++) firstOf[vertex + 1] += firstOf[vertex];
  const next = firstOf.slice();
  const triangleOf = new Uint32Array(vertices.length);
  for (let corner = 0; corner < vertices.length; corner++) {
    triangleOf[next[vertices[corner]]++] = Math.floor(corner / 3);
  }
  return { vertices, firstOf, triangleOf };
}

/** Numbers the distinct positions, by a hash table with open addressing. */
function vertexNumbers(triangles: Triangles): { vertices: Uint32Array; count: number } {
  const corners = triangles.length / 3;
  // Adding zero makes the two zeros one.
  const bits = new Int32Array(triangles.map((value) => value + 0).buffer);
  const mask = 2 ** Math.ceil(Math.log2(2 * corners + 1)) - 1;
  const slots = new Int32Array(mask + 1).fill(-1);
  const vertices = new Uint32Array(corners);
  let count = 0;
  for (let corner = 0; corner < corners; corner++) {
    const x = bits[3 * corner];
    const y = bits[3 * corner + 1];
    const z = bits[3 * corner + 2];
    let hash = Math.imul(x, 0x9e3779b1) ^ Math.imul(y, 0x85ebca6b) ^ Math.imul(z, 0xc2b2ae35);
    hash ^= hash >>> 15;
    for (let slot = hash & mask; ; slot = (slot + 1) & mask) {
      const first = slots[slot];
      if (first < 0) {
        slots[slot] = corner;
        vertices[corner] = count++;
        break;
      }
      if (bits[3 * first] === x && bits[3 * first + 1] === y && bits[3 * first + 2] === z) {
        vertices[corner] = vertices[first];
        break;
      }
    }
  }
  return { vertices, count };
}
