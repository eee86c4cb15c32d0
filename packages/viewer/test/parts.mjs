// Parts made of boxes, as a program hands them to the viewer.
import { box } from '../../stiltforge/test/boxes.mjs';

/** Nine numbers a triangle of boxes [x0, y0, z0, x1, y1, z1]. */
export function boxesMesh(boxes) {
  return Float32Array.from(boxes.flatMap((sides) => box(sides.slice(0, 3), sides.slice(3))));
}

/** A slice of rows of [begin, end, region], with all pixels of `hanging` regions overhanging freely. */
export function runsOf(rows, hanging = []) {
  const material = { rowStart: [0], begin: [], end: [], region: [] };
  const overhang = { rowStart: [0], begin: [], end: [], blue: [] };
  for (const row of rows) {
    for (const [begin, end, region] of row) {
      material.begin.push(begin);
      material.end.push(end);
      material.region.push(region);
      if (!hanging.includes(region)) continue;
      overhang.begin.push(begin);
      overhang.end.push(end);
      for (let x = begin; x < end; x += 1) overhang.blue.push(0);
    }
    material.rowStart.push(material.begin.length);
    overhang.rowStart.push(overhang.begin.length);
  }
  const typed = ({ rowStart, begin, end }) => ({
    rowStart: Uint32Array.from(rowStart),
    begin: Uint16Array.from(begin),
    end: Uint16Array.from(end),
  });
  return {
    ...typed(material),
    region: Uint32Array.from(material.region),
    overhang: { ...typed(overhang), blue: Uint8Array.from(overhang.blue) },
  };
}

/** A pillar of 0.6 mm from the plate to each point, as supports that are built. */
export function straightPillars(points) {
  return {
    rings: Float64Array.from(points.flatMap(({ x, y, z }) => [x, y, 0, 0.3, x, y, z, 0.3])),
    supports: points.map((_, point) => ({ firstRing: 2 * point, rings: 2 })),
    braces: [],
    leftOut: [],
    positions: new Float32Array(),
    raftTriangles: 0,
  };
}

/**
 * A post of 4 x 4 mm on the plate with a block of 2 x 2 mm beside it that begins in the air in layer 4.
 * Pixels and layers of 1 mm, a point under the block and one under the post's side.
 */
export function smallPart({ file = 'post.stl', layers = 8, warnings = [] } = {}) {
  const [width, height] = [12, 6];
  const post = [1, 5, 1];
  const block = [8, 10, 2];
  const slices = Array.from({ length: layers }, (_, layer) =>
    runsOf(
      Array.from({ length: height }, (_, y) => [
        ...(y >= 1 && y < 5 ? [post] : []),
        ...(layer >= 4 && y >= 2 && y < 4 ? [block] : []),
      ]),
      layer === 4 ? [2] : [],
    ),
  );
  // The box is in the middle of the screen of 20 x 10 pixels.
  const bounds = { min: [0, 0, 0], max: [9, 4, layers] };
  const crop = { column: 4, row: 2, width, height };
  const point = (column, row, layer, region, kind) => {
    const x = 4.5 + (column + 0.5 - 10);
    const y = 2 - (row + 0.5 - 5);
    return { x, y, z: layer, column, row, layer, region, kind };
  };
  const supports = [point(12, 4, 4, 2, 'island'), point(6, 4, 6, 1, 'overhang')];
  return {
    part: {
      generator: 'test 1.0',
      model: { file, ...bounds, sliceVolume: 160, warnings },
      print: { layerHeight: 1, pixelSize: 1, screenWidth: 20, screenHeight: 10, layers, crop },
      settings: { criticalAngle: 45, inset: 0.4, supportArea: 15 },
      parameters: { width, height, numLayer: layers },
      supports,
    },
    positions: boxesMesh([
      [0, 0, 0, 4, 4, layers],
      [7, 1, 4, 9, 3, layers],
    ]),
    runs: async (first, count) => slices.slice(first, first + count),
    scaffold: straightPillars(supports),
    slices,
  };
}
