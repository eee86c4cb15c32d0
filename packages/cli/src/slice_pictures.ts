import type { AnalysisParameters, SliceResult } from 'stiltforge';
import { Analysis } from 'stiltforge/analysis';
import { contactSheet } from './pictures/contact_sheet.js';
import { slicePicture } from './pictures/slice_picture.js';
import { tellingLayers } from './pictures/telling_layers.js';
import type { PrintSettings } from './settings.js';
import type { Slicer } from './slicer.js';
import type { Tally } from './tally.js';
import { counted } from './wording.js';

const tile = { width: 620, height: 520 };
const pictures = 6;
const sheetName = 'slices.png';
const tileName = (index: number): string => `slices/${index + 1}.png`;
/** Points placed up to this far below a slice are shown in it, mm. */
const memory = 8;

/** The names of all pictures that slicePictures() may return. */
export const slicePictureNames = [
  sheetName,
  ...Array.from({ length: pictures }, (_, index) => tileName(index)),
];

export interface NamedPicture {
  name: string;
  png: Buffer;
}

/**
 * Pictures of the layers that tell most, and a sheet with all of them. Their regions are found anew,
 * so that no layer of the model has to keep its pixels. No other analysis may be open.
 */
export async function slicePictures(
  slicer: Slicer,
  parameters: AnalysisParameters,
  tally: Tally,
  print: PrintSettings,
  signal: AbortSignal,
): Promise<NamedPicture[]> {
  const layers = tellingLayers(tally.layers, pictures);
  if (layers.length === 0) return [];
  const analysis = Analysis.create({ ...parameters, needBuffer: true, addSupport: false });
  const tiles: NamedPicture[] = [];
  try {
    const slices = (async function* () {
      for (const layer of layers) yield (await slicer.slice(layer)).pixels;
    })();
    for await (const result of analysis.run(slices, { signal })) {
      const layer = layers[tiles.length];
      tiles.push({
        name: tileName(tiles.length),
        png: await pictureOf(layer, result, tally, print),
      });
    }
  } finally {
    await analysis.close();
  }
  const sheet = await contactSheet(
    tiles.map(({ png }) => png),
    tile,
    3,
  );
  return [{ name: sheetName, png: sheet }, ...tiles];
}

function pictureOf(
  layer: number,
  result: SliceResult,
  tally: Tally,
  print: PrintSettings,
): Promise<Buffer> {
  const { width, height, pixelBuffer, supportedPixels } = result;
  if (pixelBuffer === null || supportedPixels === undefined) {
    throw new Error('the analysis returned no pixels although they were asked for');
  }
  const { islands } = tally.layers[layer];
  const lowest = layer - memory / print.layerHeight;
  const points = tally.supports.filter((support) => support.layer === layer);
  const z = (layer * print.layerHeight).toFixed(2);
  return slicePicture(
    {
      title: `Layer ${layer}, ${z} mm above the plate`,
      caption: [
        counted(result.layer.groupCount, 'region'),
        counted(islands.length, 'island'),
        counted(points.length, 'new support'),
      ].join(', '),
      width,
      height,
      regions: regionNumbers(pixelBuffer),
      supportValues: supportedPixels,
      islands: new Set(islands),
      points,
      earlierPoints: tally.supports.filter(
        (support) => support.layer < layer && support.layer >= lowest,
      ),
    },
    tile,
  );
}

/** The low 24 bits of each pixel, 0 in the background. */
function regionNumbers(labelled: Buffer): Uint32Array {
  const regions = new Uint32Array(labelled.length / 4);
  for (let i = 0; i < regions.length; i++) regions[i] = labelled.readUIntLE(4 * i, 3);
  return regions;
}
