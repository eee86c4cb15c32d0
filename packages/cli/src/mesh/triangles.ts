import type { Box, Point, Triangles } from 'stiltforge/slicing';

export function triangleCount(triangles: Triangles): number {
  return triangles.length / 9;
}

export function boundingBox(triangles: Triangles): Box {
  const min: Point = [Infinity, Infinity, Infinity];
  const max: Point = [-Infinity, -Infinity, -Infinity];
  for (let i = 0; i < triangles.length; i += 3) {
    for (let axis = 0; axis < 3; axis++) {
      const value = triangles[i + axis];
      if (value < min[axis]) min[axis] = value;
      if (value > max[axis]) max[axis] = value;
    }
  }
  return { min, max };
}

/** A mesh whose y axis points up, turned about x so that z does. */
export function turnedFromYUp(triangles: Triangles): Triangles {
  const turned = new Float32Array(triangles.length);
  for (let i = 0; i < triangles.length; i += 3) {
    turned[i] = triangles[i];
    turned[i + 1] = -triangles[i + 2];
    turned[i + 2] = triangles[i + 1];
  }
  return turned;
}

export function scaled(triangles: Triangles, factor: number): Triangles {
  return triangles.map((value) => value * factor);
}

/** Moved so that the box stands on z = 0 and is centred on x = y = 0. */
export function standingOnOrigin(triangles: Triangles): Triangles {
  const { min, max } = boundingBox(triangles);
  const move = [-(min[0] + max[0]) / 2, -(min[1] + max[1]) / 2, -min[2]];
  return triangles.map((value, i) => value + move[i % 3]);
}
