// The binding of the folder that ctest names, and a model small enough to count its pixels.
import { loadBinary } from 'stiltforge/load';

export const binding = loadBinary('binding.node');

/** A box of whole millimetres on a screen of 1 mm pixels. */
export function boxOptions(width = 4, depth = 2, height = 3) {
  const corner = (i) => [i & 1 ? width : 0, i & 2 ? depth : 0, i & 4 ? height : 0];
  const faces = [
    [0, 2, 3, 1],
    [4, 5, 7, 6],
    [0, 1, 5, 4],
    [2, 6, 7, 3],
    [0, 4, 6, 2],
    [1, 3, 7, 5],
  ];
  const triangles = faces.flatMap(([a, b, c, d]) => [a, b, c, a, c, d]);
  return {
    positions: new Float32Array(triangles.flatMap(corner)),
    layerHeight: 1,
    pixelSize: 1,
    screenWidth: 600,
    screenHeight: 400,
  };
}
