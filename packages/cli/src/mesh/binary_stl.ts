import type { Triangles } from 'stiltforge/slicing';

const headerBytes = 80;
const triangleBytes = 50;

/** A binary STL with exactly these corners; `title`, of ASCII, may stand in its header. */
export function binaryStl(mesh: Triangles, title: string): Buffer {
  const count = mesh.length / 9;
  const bytes = Buffer.alloc(headerBytes + 4 + triangleBytes * count);
  // "solid" would make it a text STL for many a reader.
  bytes.write(title.replace(/^solid/i, '_'), 0, headerBytes, 'latin1');
  bytes.writeUInt32LE(count, headerBytes);
  for (let i = 0, at = headerBytes + 4; i < mesh.length; i += 9, at += triangleBytes) {
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
