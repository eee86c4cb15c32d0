// The whole road of a part, by the promise API of any make. Runs in browsers, too.
import { faces } from './boxes.mjs';

/** A slab on two thin legs, leaning: islands, overhang and something to finish. */
const part = new TextEncoder().encode(
  [
    ...prism([0, 0, 0], [1, 1, 3], [0, 0]),
    ...prism([8, 8, 0], [1, 1, 3], [0, 0]),
    ...prism([0, 0, 3], [9, 9, 1], [3, 1]),
    ...prism([4, 4, 2], [1, 2, 0.5], [0, 1]),
  ]
    .map(
      ([a, b, c]) =>
        `facet normal 0 0 0 outer loop ${[a, b, c].map((p) => `vertex ${p.join(' ')}`).join(' ')} endloop endfacet\n`,
    )
    .join('')
    .replace(/^/, 'solid part\n')
    .concat('endsolid part\n'),
);

/** The triangles of a box whose top is shifted. */
function prism([x, y, z], [width, depth, height], [leanX, leanY]) {
  const corner = (i) => [
    x + (i & 1 ? width : 0) + (i & 4 ? leanX : 0),
    y + (i & 2 ? depth : 0) + (i & 4 ? leanY : 0),
    z + (i & 4 ? height : 0),
  ];
  return faces.flatMap(([a, b, c, d]) => [[a, b, c].map(corner), [a, c, d].map(corner)]);
}

/** Everything on the road of a part, by one of the two. */
export async function roadOf(api) {
  const { positions, ...file } = await api.readMesh(part, { name: 'part.stl' });
  const print = { ...api.defaultPrint, layerHeight: 0.1, pixelSize: 0.1 };
  const slicer = api.createSlicer({ positions, ...print, margin: 2 });
  const model = api.analysisParameters(print, api.defaultSupport, slicer);
  const survey = { pixelSize: print.pixelSize, layerHeight: print.layerHeight };
  const analysis = api.Analysis.create(model, { survey });
  const layers = [];
  for await (const result of analysis.run(slicer)) layers.push(result);
  const finished = await analysis.finishSupports({ supportArea: 15 });
  const verdict = await analysis.judgeSupports();
  const owed = await analysis.owedPixels();
  await analysis.close();
  const points = finished.supports.map(({ layer, x, y }) => ({ layer, x, y }));
  const given = api.Survey.create({ width: slicer.width, height: slicer.height, ...survey });
  await given.addLayers(slicer, points);
  const check = await api.checkPrint(slicer, {
    layerHeight: print.layerHeight,
    pixelWidth: print.pixelSize,
    screenWidth: print.screenWidth,
    screenHeight: print.screenHeight,
    points: points.map(({ layer, x, y }) => ({ layer, column: x, row: y })),
  });
  const masks = api.createMaskSlicer({
    maskWidth: 40,
    maskHeight: 30,
    layerHeight: 0.1,
    pixelSize: 0.1,
  });
  // The second triangle, turned around.
  const spoilt = positions.slice();
  spoilt.copyWithin(12, 15, 18);
  spoilt.set(positions.subarray(12, 15), 15);
  const { turnedTriangles } = api.createSlicer({ positions: spoilt, ...print });
  const mask = Uint8Array.from({ length: 1200 }, (_, i) => (i * 7919) % 256);
  return {
    file,
    positions,
    report: slicer.report,
    turnedTriangles,
    model,
    layers,
    finished,
    verdict,
    owed,
    judged: await given.judge(),
    check,
    slice: await slicer.slice(35),
    runs: await slicer.runs(30, 8),
    masked: await masks.next(mask),
    table: api.parameterTable(),
    turned: api.turnedMesh(positions, [30, 0, 45]),
    best: await api.orient({ positions, directions: 20 }),
    scaffold: await api.buildScaffold({
      positions,
      points: points.map(({ layer, x, y }) => ({
        x: slicer.originX + (slicer.cropX + x + 0.5) * print.pixelSize,
        y: slicer.originY - (slicer.cropY + y + 0.5) * print.pixelSize,
        z: slicer.plateZ + layer * print.layerHeight,
      })),
      plateZ: slicer.plateZ - 5,
      layerHeight: print.layerHeight,
    }),
  };
}

/** The text of what roadOf() gives: nothing of it is left out. */
export function textOf(road) {
  return JSON.stringify(road, (_, value) => {
    if (value instanceof ArrayBuffer) return [...new Uint8Array(value)];
    return ArrayBuffer.isView(value) ? [value.constructor.name, ...value] : value;
  });
}
