import { BufferAttribute, BufferGeometry } from 'three';
import { toCreasedNormals } from 'three/addons/utils/BufferGeometryUtils.js';
import type { Triangles } from '../mesh/triangles.js';

/** Edges sharper than this stay edges. */
const creaseAngle = (40 * Math.PI) / 180;

/** Beyond this many triangles each is so small in the picture that smoothing shows nothing. */
const largestSmoothed = 300_000;

/** A normal for each corner, three floats each: smooth over gentle bends, split at sharp edges. */
export function cornerNormals(triangles: Triangles): ArrayLike<number> {
  const geometry = new BufferGeometry();
  geometry.setAttribute('position', new BufferAttribute(triangles, 3));
  if (triangles.length / 9 > largestSmoothed) {
    geometry.computeVertexNormals();
    return geometry.getAttribute('normal').array;
  }
  return toCreasedNormals(geometry, creaseAngle).getAttribute('normal').array;
}
