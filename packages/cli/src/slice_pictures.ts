import type { AnalysisParameters, SliceResult } from 'stiltforge';
import { Analysis } from 'stiltforge/analysis';
import {
  bottomOfLayer,
  type LayerHeights,
  type PrintSettings,
  type Slicer,
} from 'stiltforge/slicing';
import { type HeldPart, isAdded } from './held_part.js';
import { mostSlices, sliceName, sliceSheetName } from './picture_names.js';
import { sliceSheet } from './pictures/slice_sheet.js';
import type { SlicePicture } from './pictures/slice_tile.js';
import { tellingLayers } from './pictures/telling_layers.js';
import { markOf } from './point_marks.js';
import type { Tally } from './tally.js';
import { counted } from './wording.js';

/** Points placed up to this far below a slice are shown in it, mm. */
const memory = 8;

export interface NamedPicture {
  name: string;
  png: Buffer;
}

/**
 * Pictures of the layers that tell most, and a sheet with all of them. Their regions are found anew,
 * so that no layer of the model has to keep its pixels.
 */
export async function slicePictures(
  name: string,
  slicer: Pick<Slicer, 'slice'>,
  parameters: AnalysisParameters,
  tally: Tally,
  part: HeldPart,
  print: PrintSettings & LayerHeights,
  signal: AbortSignal,
): Promise<NamedPicture[]> {
  const layers = tellingLayers(pointsByLayer(tally, part), mostSlices);
  if (layers.length === 0) return [];
  const { sheet, tiles } = await sliceSheet(
    pictured(layers, slicer, parameters, tally, part, print, signal),
    layers.length,
    `${name}: where most supports were placed${part.dropped.length > 0 ? ', merged or left out' : ''}`,
    `support placed up to ${memory} mm below`,
    {
      island: 'new support under an island',
      overhang: 'new support under an overhang',
      ...(part.points.some(isAdded) ? { added: 'added' } : {}),
      ...(part.dropped.length > 0 ? { dropped: 'merged or left out' } : {}),
    },
  );
  return [
    { name: sliceSheetName, png: sheet },
    ...tiles.map((png, index) => ({ name: sliceName(index), png })),
  ];
}

async function* pictured(
  layers: readonly number[],
  slicer: Pick<Slicer, 'slice'>,
  parameters: AnalysisParameters,
  tally: Tally,
  part: HeldPart,
  print: PrintSettings & LayerHeights,
  signal: AbortSignal,
): AsyncGenerator<SlicePicture> {
  const analysis = Analysis.create({ ...parameters, needBuffer: true, addSupport: false });
  const images = (async function* () {
    for (const layer of layers) yield (await slicer.slice(layer)).pixels;
  })();
  try {
    let index = 0;
    for await (const result of analysis.run(images, { signal })) {
      yield pictureOf(layers[index++], result, tally, part, print);
    }
  } finally {
    await analysis.close();
  }
}

function pictureOf(
  layer: number,
  { layer: { groups }, width, height, pixelBuffer, supportedPixels }: SliceResult,
  tally: Tally,
  part: HeldPart,
  print: PrintSettings & LayerHeights,
): SlicePicture {
  if (pixelBuffer === null || supportedPixels === undefined) {
    throw new Error('the analysis returned no pixels although they were asked for');
  }
  const { islands } = tally.layers[layer];
  const lowest = layer - memory / print.layerHeight;
  const points = part.points.filter((point) => point.layer === layer);
  const dropped = part.dropped.filter((point) => point.layer === layer);
  const z = bottomOfLayer(print, layer).toFixed(2);
  return {
    title: `Layer ${layer}, ${z} mm above the plate`,
    caption: [
      counted(groups.length, 'region'),
      counted(islands.length, 'island'),
      counted(points.length, 'new support'),
      ...(dropped.length > 0 ? [`${dropped.length} merged or left out`] : []),
    ].join(', '),
    width,
    height,
    pixelSize: print.pixelSize,
    box: {
      left: Math.min(...groups.map(({ xMin }) => xMin)),
      top: Math.min(...groups.map(({ yMin }) => yMin)),
      right: Math.max(...groups.map(({ xMax }) => xMax)),
      bottom: Math.max(...groups.map(({ yMax }) => yMax)),
    },
    labels: new Uint32Array(pixelBuffer.buffer, pixelBuffer.byteOffset, pixelBuffer.length / 4),
    supportValues: supportedPixels,
    islands: new Set(islands),
    points: [
      ...dropped.map(({ column, row }) => ({ column, row, kind: 'dropped' as const })),
      ...points.map((point) => ({ ...point, kind: markOf(point) })),
    ],
    earlierPoints: part.points.filter((point) => point.layer < layer && point.layer >= lowest),
  };
}

function pointsByLayer({ layers }: Tally, { points, dropped }: HeldPart) {
  const counted = layers.map(({ islands }) => ({ islands, points: 0 }));
  for (const { layer } of [...points, ...dropped]) counted[layer].points++;
  return counted;
}
