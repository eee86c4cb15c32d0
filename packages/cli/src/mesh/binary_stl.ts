import type { Triangles } from 'stiltforge/slicing';

const headerBytes = 80;
const triangleBytes = 50;

/** Triangles in one piece of bytes. */
const piece = 16384;

/** A binary STL with exactly these corners; `title`, of ASCII, may stand in its header. */
export function binaryStl(mesh: Triangles, title: string): Uint8Array<ArrayBuffer> {
  const bytes = new Uint8Array(binaryStlBytes([mesh]));
  let at = 0;
  for (const part of binaryStlPieces([mesh], title)) {
    bytes.set(part, at);
    at += part.length;
  }
  return bytes;
}

/** How many a binary STL of these meshes has. */
export function binaryStlBytes(meshes: readonly Triangles[]): number {
  return headerBytes + 4 + triangleBytes * countOf(meshes);
}

function countOf(meshes: readonly Triangles[]): number {
  return meshes.reduce((sum, mesh) => sum + mesh.length / 9, 0);
}

/** The same in pieces, of several meshes, one after the other. */
export function* binaryStlPieces(
  meshes: readonly Triangles[],
  title: string,
): Generator<Uint8Array<ArrayBuffer>, void, void> {
  const header = new Uint8Array(headerBytes + 4);
  // "solid" would make it a text STL for many a reader.
  const text = title.replace(/^solid/i, '_').slice(0, headerBytes);
  header.set(Array.from(text, (character) => character.charCodeAt(0)));
  new DataView(header.buffer).setUint32(headerBytes, countOf(meshes), true);
  yield header;
  for (const mesh of meshes) {
    for (let first = 0; first < mesh.length; first += 9 * piece) {
      yield trianglesOf(mesh.subarray(first, first + 9 * piece));
    }
  }
}

function trianglesOf(mesh: Triangles): Uint8Array<ArrayBuffer> {
  const bytes = new Uint8Array((mesh.length / 9) * triangleBytes);
  const view = new DataView(bytes.buffer);
  for (let i = 0, at = 0; i < mesh.length; i += 9, at += triangleBytes) {
    const normal = normalAt(mesh, i);
    for (let k = 0; k < 3; k++) view.setFloat32(at + 4 * k, normal[k], true);
    for (let k = 0; k < 9; k++) view.setFloat32(at + 12 + 4 * k, mesh[i + k], true);
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
