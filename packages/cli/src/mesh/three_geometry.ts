import { type BufferGeometry, type Mesh, type Object3D, Vector3 } from 'three';
import type { Triangles } from './triangles.js';

/**
 * Runs a parser of three.js without its remarks on the console: what they hint at is checked by the
 * readers here, which name the file and the place.
 */
export function quietly<T>(parse: () => T): T {
  const { log, warn, error } = console;
  console.log = console.warn = console.error = () => {};
  try {
    return parse();
  } finally {
    Object.assign(console, { log, warn, error });
  }
}

export function trianglesOf(geometry: BufferGeometry): Triangles {
  const position = geometry.getAttribute('position');
  if (position === undefined) return new Float32Array(0);
  const index = geometry.getIndex();
  const corners = index === null ? position.count : index.count;
  const triangles = new Float32Array(3 * (corners - (corners % 3)));
  for (let corner = 0; 3 * corner < triangles.length; corner++) {
    const vertex = index === null ? corner : index.getX(corner);
    triangles[3 * corner] = position.getX(vertex);
    triangles[3 * corner + 1] = position.getY(vertex);
    triangles[3 * corner + 2] = position.getZ(vertex);
  }
  return triangles;
}

/** The triangles of every mesh below `root`, each moved to where its transforms put it. */
export function trianglesOfTree(root: Object3D): Triangles {
  const parts: Triangles[] = [];
  root.updateMatrixWorld(true);
  root.traverse((object) => {
    const mesh = object as Mesh;
    if (!mesh.isMesh) return;
    const part = trianglesOf(mesh.geometry);
    const corner = new Vector3();
    for (let i = 0; i < part.length; i += 3) {
      corner.fromArray(part, i).applyMatrix4(mesh.matrixWorld).toArray(part, i);
    }
    if (mesh.matrixWorld.determinant() < 0) turnInsideOut(part);
    parts.push(part);
  });
  const all = new Float32Array(parts.reduce((length, part) => length + part.length, 0));
  let end = 0;
  for (const part of parts) {
    all.set(part, end);
    end += part.length;
  }
  return all;
}

/** A mirroring transform flips every triangle; swapping two corners turns its front out again. */
function turnInsideOut(triangles: Triangles): void {
  for (let i = 0; i < triangles.length; i += 9) {
    const second = triangles.slice(i + 3, i + 6);
    triangles.copyWithin(i + 3, i + 6, i + 9);
    triangles.set(second, i + 6);
  }
}
