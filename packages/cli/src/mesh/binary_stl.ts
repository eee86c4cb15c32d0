import type { Triangles } from 'stiltforge/slicing';

const headerBytes = 80;
const triangleBytes = 50;

/** Triangles in one piece of bytes. */
const piece = 16384;

/** A binary STL with exactly these corners; `title`, of ASCII, may stand in its header. */
export function binaryStl(mesh: Triangles, title: string): Buffer {
  return Buffer.concat([...binaryStlPieces([mesh], title)]);
}

/** The same in pieces, of several meshes, one after the other. */
export function* binaryStlPieces(
  meshes: readonly Triangles[],
  title: string,
): Generator<Buffer, void, void> {
  const header = Buffer.alloc(headerBytes + 4);
  // "solid" would make it a text STL for many a reader.
  header.write(title.replace(/^solid/i, '_'), 0, headerBytes, 'latin1');
  header.writeUInt32LE(
    meshes.reduce((count, mesh) => count + mesh.length / 9, 0),
    headerBytes,
  );
  yield header;
  for (const mesh of meshes) {
    for (let first = 0; first < mesh.length; first += 9 * piece) {
      yield trianglesOf(mesh.subarray(first, first + 9 * piece));
    }
  }
}

function trianglesOf(mesh: Triangles): Buffer {
  const bytes = Buffer.alloc((mesh.length / 9) * triangleBytes);
  for (let i = 0, at = 0; i < mesh.length; i += 9, at += triangleBytes) {
    const normal = normalAt(mesh, i);
    for (let k = 0; k < 3; k++) bytes.writeFloatLE(normal[k], at + 4 * k);
    for (let k = 0; k < 9; k++) bytes.writeFloatLE(mesh[i + k], at + 12 + 4 * k);
  }
  return bytes;
}

/** Of length 1; zeros for a triangle without area. */
function normalAt(mesh: Triangles, i: number): number[] {
  const edge = (corner: number, axis: number): number =>
    mesh[i + 3 * corner + axis] - mesh[i + axis];
  const across = [0, 1, 2].map((axis) => {
    const [u, v] = [(axis + 1) % 3, (axis + 2) % 3];
    return edge(1, u) * edge(2, v) - edge(1, v) * edge(2, u);
  });
  const length = Math.hypot(...across);
  return length > 0 && Number.isFinite(length) ? across.map((value) => value / length) : [0, 0, 0];
}
