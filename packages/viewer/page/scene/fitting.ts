import { Vector3 } from 'three';

/** What stays free around the part, as a share of the picture. */
const margin = 1.08;

/**
 * How far from the middle of a box a camera stands for all of the box to lie in the picture. half: from
 * the middle to its sides. direction: of length 1, from the middle to the camera, whose up is z. across,
 * along: tangents of half the angles of view.
 */
export function distanceThatShows(
  half: Vector3,
  direction: Vector3,
  across: number,
  along: number,
): number {
  const right = new Vector3(0, 0, 1).cross(direction);
  // Straight from above every direction is right.
  if (right.lengthSq() === 0) right.set(1, 0, 0);
  right.normalize();
  const up = direction.clone().cross(right);
  let distance = 0;
  for (let corner = 0; corner < 8; corner++) {
    const sign = (bit: number): number => (corner & bit ? 1 : -1);
    const at = new Vector3(sign(1) * half.x, sign(2) * half.y, sign(4) * half.z);
    const wide = Math.abs(at.dot(right)) / across;
    const high = Math.abs(at.dot(up)) / along;
    distance = Math.max(distance, at.dot(direction) + margin * Math.max(wide, high));
  }
  return distance;
}
