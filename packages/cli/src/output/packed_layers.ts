import type { LayerSlicer } from 'stiltforge/slicing';
import { type PackedPart, type PartSource, type PixelGrid, packPart } from 'stiltforge-viewer';
import { cropAround, type PixelBox, type PrintedFile, placeOnPlate } from '../printed_file.js';
import { croppedRuns } from './cropped_runs.js';
import { layerSurface } from './layer_surface.js';

/** What a page shows of a print that has no mesh. */
export interface ReportedPrint extends Pick<PartSource, 'part' | 'strength'> {
  printed: PrintedFile;
  /** All of its layers, which are read more than once. */
  layers: Pick<LayerSlicer, 'runs'>;
  /** Around all material, and its highest layer. */
  box: PixelBox;
  top: number;
}

/** Pixels around the material. */
const margin = 4;

/** Bytes of slices, so that the page stays below 8 MB; there is one for each of its few thousand layers. */
const sliceBytes = 4.5e6;

/** Of the work, what the surface takes. */
const surfaceShare = 0.5;

/**
 * All that there is to see of a print, for the page of a report, with the shape that its layers make.
 * `progress` is told the share that is done, from 0 to 1. Throws the signal's reason.
 */
export async function packedLayers(
  { printed, layers, box, top, part, strength }: ReportedPrint,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<PackedPart> {
  const { file, pixel, print } = printed;
  const crop = cropAround(file, box, margin);
  const { width, height } = crop;
  const runs: PartSource['runs'] = async (first, count) =>
    (await layers.runs(first, count)).map((layer) => croppedRuns(layer, crop));
  const layerCount = top + 1;
  let reached = 0;
  const reading: PartSource['runs'] = (first, count) => {
    // Cells that were too fine are made anew, from the first layer on.
    reached = Math.max(reached, first / layerCount);
    progress?.(surfaceShare * reached);
    return runs(first, count);
  };
  const surface = await layerSurface(
    {
      ...{ width, height, layers: layerCount, heights: print, runs: reading },
      ...{ pixelWidth: pixel.width, pixelHeight: pixel.height },
      placeOf: (column, row) => {
        const at = (side: number): number => side - 0.5;
        const { x, y } = placeOnPlate(printed, at(crop.column + column), at(crop.row + row));
        return [x, y];
      },
    },
    signal,
  );
  progress?.(surfaceShare);
  const source: PartSource = {
    part: { ...part, print: { ...part.print, crop, grid: gridOf(printed) } },
    positions: surface.positions,
    offLayers: surface.tolerance,
    ...{ runs, strength },
  };
  return packPart(source, {
    ...{ signal, sliceBytes },
    progress: (share) => progress?.(surfaceShare + (1 - surfaceShare) * share),
  });
}

function gridOf(printed: PrintedFile): PixelGrid {
  const [corner, right, down] = [
    [-0.5, -0.5],
    [0.5, -0.5],
    [-0.5, 0.5],
  ].map(([column, row]) => placeOnPlate(printed, column, row));
  return {
    corner: [corner.x, corner.y],
    column: [right.x - corner.x, right.y - corner.y],
    row: [down.x - corner.x, down.y - corner.y],
  };
}
