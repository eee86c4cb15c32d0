import type { SliceResult } from 'stiltforge';

export interface LayerTally {
  regions: number;
  /** Numbers of the regions that rest on nothing. */
  islands: number[];
}

/** What the results of a model add up to, and all that is kept of them. */
export class Tally {
  readonly layers: LayerTally[] = [];
  regions = 0;
  materialPixels = 0;
  /** Of them, those of the first layer. */
  firstLayerPixels = 0;

  add({ layer }: SliceResult): void {
    const islands: number[] = [];
    layer.groups.forEach(({ supportedPixel }, i) => {
      if (this.layers.length > 0 && supportedPixel === 0) islands.push(i + 1);
    });
    if (this.layers.length === 0) this.firstLayerPixels = layer.pixelCount;
    this.materialPixels += layer.pixelCount;
    this.regions += layer.groups.length;
    this.layers.push({ regions: layer.groups.length, islands });
  }
}
