import type { SliceResult } from 'stiltforge';

export type SupportKind = 'island' | 'overhang';

/** A support point as the analysis places it. */
export interface PlacedSupport {
  /** Counted from 0, the layer on the plate. */
  layer: number;
  /** Number of the region in its layer, from 1. */
  region: number;
  kind: SupportKind;
  /** Pixel of the slice. */
  column: number;
  row: number;
}

export interface LayerTally {
  regions: number;
  supports: number;
  /** Numbers of the regions that rest on nothing. */
  islands: number[];
}

/** What the results of a model add up to, and all that is kept of them. */
export class Tally {
  readonly layers: LayerTally[] = [];
  readonly supports: PlacedSupport[] = [];
  regions = 0;
  islands = 0;
  /** Islands with a support of their own. */
  supportedIslands = 0;
  /** Those without that are a single pixel: the layer above decides about them. */
  singlePixelIslands = 0;

  add({ layer }: SliceResult): void {
    const index = this.layers.length;
    const islands: number[] = [];
    const before = this.supports.length;
    layer.groups.forEach((group, i) => {
      const region = i + 1;
      if (index > 0 && group.supportedPixel === 0) {
        islands.push(region);
        if (group.supports.length > 0) this.supportedIslands += 1;
        else if (group.numPixel === 1) this.singlePixelIslands += 1;
      }
      for (const { x, y, isMinima } of group.supports) {
        const kind = isMinima ? 'island' : 'overhang';
        this.supports.push({ layer: index, region, kind, column: x, row: y });
      }
    });
    this.regions += layer.groups.length;
    this.islands += islands.length;
    this.layers.push({
      regions: layer.groups.length,
      supports: this.supports.length - before,
      islands,
    });
  }
}
