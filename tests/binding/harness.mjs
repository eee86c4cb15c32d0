// The binding of the folder that ctest names, and a model small enough to count its pixels.
import { loadBinary } from 'stiltforge/load';
import { faces } from '../../packages/stiltforge/test/boxes.mjs';

export { runsOf } from '../../packages/stiltforge/test/harness.mjs';

export const binding = loadBinary('binding.node');

/** A box of whole millimetres on a screen of 1 mm pixels. */
export function boxOptions(width = 4, depth = 2, height = 3) {
  const corner = (i) => [i & 1 ? width : 0, i & 2 ? depth : 0, i & 4 ? height : 0];
  const triangles = faces.flatMap(([a, b, c, d]) => [a, b, c, a, c, d]);
  return {
    positions: new Float32Array(triangles.flatMap(corner)),
    layerHeight: 1,
    pixelSize: 1,
    screenWidth: 600,
    screenHeight: 400,
  };
}

/** Boxes [x0, y0, z0, x1, y1, z1] of whole millimetres on a screen of 1 mm pixels, layers of 1 mm. */
export function boxesOptions(...boxes) {
  const unit = boxOptions(1, 1, 1).positions;
  const positions = boxes.flatMap((box) =>
    Array.from(unit, (corner, i) => box[(i % 3) + 3 * corner]),
  );
  return { ...boxOptions(), positions: new Float32Array(positions) };
}

/** The 28 parameters of a model that wants many supports, with what the test cares about changed. */
export function modelParameters(width, height, changes = {}) {
  const defaults = binding.parameterTable.map((row) => [row.name, row.default]);
  return {
    ...Object.fromEntries(defaults),
    ...{ width, height, needBuffer: false, addSupport: true },
    ...{ supportStrength: 30, firstSupportMinStrength: 2, growthStrength: 1000 },
    ...{ strengthTransmited: 1, numberOfSamplePerSupport: 50, numberOfSamplePerVoronoi: 20 },
    ...{ ghostPart: 1, ghostRadius: 8, maxVoronoiIteration: 5 },
    ...changes,
  };
}
