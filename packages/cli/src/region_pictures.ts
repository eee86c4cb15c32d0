import type { Analysis } from 'stiltforge/analysis';
import type { RegionPictures, RegionPoint } from './pictures/region_sheet.js';

export type { RegionPictures, RegionPoint } from './pictures/region_sheet.js';

/**
 * The sampling state of one analysed region as eight PNG images and one labelled contact sheet, for a
 * person who tunes parameters.
 * @param layer index of the layer in the order of analysis, from 0
 * @param region number of the region in its layer, from 1, as in supports.json
 * @param points to be marked on the sheet; without them those of the analysis are
 */
export async function regionPictures(
  analysis: Analysis,
  layer: number,
  region: number,
  points?: readonly RegionPoint[],
): Promise<RegionPictures> {
  // What draws is loaded when something is drawn: it takes longer than a small model.
  const { regionSheet } = await import('./pictures/region_sheet.js');
  return regionSheet(await analysis.groupImages(layer, region - 1), layer, region, points);
}
