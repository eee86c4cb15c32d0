import type { LabelledRuns } from './slice_codec.js';

export interface RegionFound {
  /** From 1. */
  region: number;
  pixels: number;
  /** Pixels that lie over material of the layer below. */
  resting: number;
  /** A pixel of it: the middle of its longest run. */
  column: number;
  row: number;
}

type Rows = Pick<LabelledRuns, 'rowStart' | 'begin' | 'end'>;

/** The regions of a layer, and how much of each rests on the layer below; null for the plate. */
export function regionsOf(layer: LabelledRuns, below: Rows | null): RegionFound[] {
  const regions: RegionFound[] = [];
  const longest: number[] = [];
  const { rowStart, begin, end, region } = layer;
  for (let y = 0; y + 1 < rowStart.length; y++) {
    let lower = below === null ? 0 : below.rowStart[y];
    const lowerEnd = below === null ? 0 : below.rowStart[y + 1];
    for (let run = rowStart[y]; run < rowStart[y + 1]; run++) {
      const number = region[run];
      const found = regions[number - 1] ?? {
        ...{ region: number, pixels: 0, resting: 0, column: 0, row: 0 },
      };
      regions[number - 1] = found;
      const length = end[run] - begin[run];
      found.pixels += length;
      if (length > (longest[number] ?? 0)) {
        longest[number] = length;
        found.column = (begin[run] + end[run]) >> 1;
        found.row = y;
      }
      if (below === null) continue;
      while (lower < lowerEnd && below.end[lower] <= begin[run]) lower++;
      for (let i = lower; i < lowerEnd && below.begin[i] < end[run]; i++) {
        found.resting += Math.min(below.end[i], end[run]) - Math.max(below.begin[i], begin[run]);
      }
    }
  }
  return regions;
}
