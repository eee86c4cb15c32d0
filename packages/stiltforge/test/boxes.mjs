/** Corners of the six sides of a box, outwards; of a corner's number, bits 0 to 2 say x, y and z. */
export const faces = [
  [0, 2, 3, 1],
  [4, 5, 7, 6],
  [0, 1, 5, 4],
  [2, 6, 7, 3],
  [0, 4, 6, 2],
  [1, 3, 7, 5],
];

/** Twelve triangles, nine numbers each; inside out when it is a hollow. */
export function box([x0, y0, z0], [x1, y1, z1], isHollow = false) {
  const corner = (i) => [i & 1 ? x1 : x0, i & 2 ? y1 : y0, i & 4 ? z1 : z0];
  return faces.flatMap(([a, b, c, d]) => {
    const corners = [a, b, c, a, c, d];
    return (isHollow ? corners.toReversed() : corners).flatMap(corner);
  });
}

/** A slab of 20 x 20 mm, 10 mm above the plate, on a post in its middle. */
export const table = Float32Array.from([
  ...box([0, 0, 10], [20, 20, 12]),
  ...box([8, 8, 0], [12, 12, 11]),
]);
