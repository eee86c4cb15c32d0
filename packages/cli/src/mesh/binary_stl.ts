import { STLLoader } from 'three/addons/loaders/STLLoader.js';
import { MeshError } from '../errors.js';
import { trianglesOf } from './three_geometry.js';
import type { Triangles } from './triangles.js';

const headerBytes = 84;
const triangleBytes = 50;

function announcedTriangles(bytes: Uint8Array): number {
  return new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength).getUint32(80, true);
}

/** True if the length is exactly what the triangle count in the header asks for. */
export function hasBinaryStlLength(bytes: Uint8Array): boolean {
  return (
    bytes.length >= headerBytes &&
    bytes.length === headerBytes + triangleBytes * announcedTriangles(bytes)
  );
}

export function parseBinaryStl(bytes: Uint8Array<ArrayBuffer>): Triangles {
  if (bytes.length < headerBytes) {
    throw new MeshError(
      `the file has ${bytes.length} bytes, a binary STL has at least ${headerBytes}`,
      'It is cut off or not a mesh; copy or export it again',
    );
  }
  if (!hasBinaryStlLength(bytes)) {
    const announced = announcedTriangles(bytes);
    const present = Math.floor((bytes.length - headerBytes) / triangleBytes);
    const fault = present < announced ? 'is cut off' : 'has more data than it announces';
    throw new MeshError(
      `the binary STL ${fault}: its header announces ${announced} triangles, ` +
        `its ${bytes.length} bytes hold ${present}`,
      'Copy or export it again',
    );
  }
  return trianglesOf(new STLLoader().parse(bytes.buffer));
}
