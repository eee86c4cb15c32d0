import type { AnalysisParameters, SliceResult } from 'stiltforge';
import { Analysis } from 'stiltforge/analysis';
import type { PrintSettings, Slicer } from 'stiltforge/slicing';
import { mostSlices, sliceName, sliceSheetName } from './picture_names.js';
import { sliceSheet } from './pictures/slice_sheet.js';
import type { SlicePicture } from './pictures/slice_tile.js';
import { tellingLayers } from './pictures/telling_layers.js';
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
  slicer: Slicer,
  parameters: AnalysisParameters,
  tally: Tally,
  print: PrintSettings,
  signal: AbortSignal,
): Promise<NamedPicture[]> {
  const layers = tellingLayers(tally.layers, mostSlices);
  if (layers.length === 0) return [];
  const { sheet, tiles } = await sliceSheet(
    pictured(layers, slicer, parameters, tally, print, signal),
    layers.length,
    `${name}: where most supports were placed`,
    `support placed up to ${memory} mm below`,
  );
  return [
    { name: sliceSheetName, png: sheet },
    ...tiles.map((png, index) => ({ name: sliceName(index), png })),
  ];
}

async function* pictured(
  layers: readonly number[],
  slicer: Slicer,
  parameters: AnalysisParameters,
  tally: Tally,
  print: PrintSettings,
  signal: AbortSignal,
): AsyncGenerator<SlicePicture> {
  const analysis = Analysis.create({ ...parameters, needBuffer: true, addSupport: false });
  const images = (async function* () {
    for (const layer of layers) yield (await slicer.slice(layer)).pixels;
  })();
  try {
    let index = 0;
    for await (const result of analysis.run(images, { signal })) {
      yield pictureOf(layers[index++], result, tally, print);
    }
  } finally {
    await analysis.close();
  }
}

function pictureOf(
  layer: number,
  { layer: { groups }, width, height, pixelBuffer, supportedPixels }: SliceResult,
  tally: Tally,
  print: PrintSettings,
): SlicePicture {
  if (pixelBuffer === null || supportedPixels === undefined) {
    throw new Error('the analysis returned no pixels although they were asked for');
  }
  const { islands } = tally.layers[layer];
  const lowest = layer - memory / print.layerHeight;
  const points = tally.supports.filter((support) => support.layer === layer);
  const z = (layer * print.layerHeight).toFixed(2);
  return {
    title: `Layer ${layer}, ${z} mm above the plate`,
    caption: [
      counted(groups.length, 'region'),
      counted(islands.length, 'island'),
      counted(points.length, 'new support'),
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
    points,
    earlierPoints: tally.supports.filter(
      (support) => support.layer < layer && support.layer >= lowest,
    ),
  };
}
