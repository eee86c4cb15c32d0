import type { ValuedRuns, ViewerSlice } from '../../src/slice_codec.js';
import { overhangLevels } from '../../src/slice_codec.js';
import { bytesOf, type Palette } from '../palette.js';

/** What of a slice is painted: the slice's pixel at the picture's corner, and picture pixels for one of it. */
export interface SliceWindow {
  left: number;
  top: number;
  scale: number;
}

/** Columns of a picture row: how much of each a set of runs covers, from 0 to 1. */
class Coverage {
  private readonly steps: Float32Array;
  private readonly parts: Float32Array;
  private isEmpty = true;

  constructor(private readonly width: number) {
    this.steps = new Float32Array(width + 2);
    this.parts = new Float32Array(width + 2);
  }

  clear(): void {
    if (this.isEmpty) return;
    this.steps.fill(0);
    this.parts.fill(0);
    this.isEmpty = true;
  }

  /** Columns from `from` to before `to`, fractions of columns included. */
  add(from: number, to: number, weight: number): void {
    const first = Math.floor(from);
    const last = Math.floor(to);
    this.isEmpty = false;
    if (first === last) {
      this.parts[first] += weight * (to - from);
      return;
    }
    this.parts[first] += weight * (first + 1 - from);
    this.parts[last] += weight * (to - last);
    this.steps[first + 1] += weight;
    this.steps[last] -= weight;
  }

  /** Sums up the row; the parts hold the result. False when nothing was added. */
  sum(): Float32Array | null {
    if (this.isEmpty) return null;
    let level = 0;
    for (let x = 0; x < this.width; x++) {
      level += this.steps[x];
      this.parts[x] += level;
    }
    return this.parts;
  }
}

/**
 * Paints a slice into RGBA pixels, `width` a row: regions in colours, islands in theirs with a lattice,
 * overhang darker and hatched, the denser the freer it hangs. However small the picture, each pixel of
 * the slice counts by the area that it has there; where nothing is, the picture is transparent.
 * `hatch`: picture pixels from stripe to stripe.
 */
export function paintSlice(
  slice: ViewerSlice,
  { left, top, scale }: SliceWindow,
  islands: ReadonlySet<number>,
  palette: Palette,
  hatch: number,
  picture: { width: number; height: number; data: Uint8ClampedArray },
): void {
  const { width, height, data } = picture;
  data.fill(0);
  const { material, overhang } = slice;
  const rows = material.rowStart.length - 1;
  const colours = palette.regions.map(bytesOf);
  const islandColour = bytesOf(palette.island);
  const outline = bytesOf(palette.outline);
  const covered = new Coverage(width);
  const partly = new Coverage(width);
  const freely = new Coverage(width);
  const regions = new Uint32Array(width + 1);

  const eachRun = (
    { rowStart, begin, end, value }: ValuedRuns,
    y: number,
    act: (from: number, to: number, value: number) => void,
  ): void => {
    for (let run = rowStart[y]; run < rowStart[y + 1]; run++) {
      const from = Math.max(0, (begin[run] - left) * scale);
      const to = Math.min(width, (end[run] - left) * scale);
      if (from < to) act(from, to, value[run]);
    }
  };

  for (let pictureRow = 0; pictureRow < height; pictureRow++) {
    const begin = top + pictureRow / scale;
    const end = top + (pictureRow + 1) / scale;
    const first = Math.max(0, Math.floor(begin));
    const last = Math.min(rows, Math.ceil(end));
    if (first >= last) continue;
    covered.clear();
    partly.clear();
    freely.clear();
    for (let y = first; y < last; y++) {
      const weight = (Math.min(y + 1, end) - Math.max(y, begin)) * scale;
      eachRun(material, y, (from, to, region) => {
        covered.add(from, to, weight);
        regions.fill(region, Math.floor(from), Math.ceil(to));
      });
      eachRun(overhang, y, (from, to, level) => {
        (level === overhangLevels.freely ? freely : partly).add(from, to, weight);
      });
    }
    // A small island must not vanish behind its neighbour in the same pixel of the picture.
    if (islands.size > 0) {
      for (let y = first; y < last; y++) {
        eachRun(material, y, (from, to, region) => {
          if (islands.has(region)) regions.fill(region, Math.floor(from), Math.ceil(to));
        });
      }
    }
    const share = covered.sum();
    if (share === null) continue;
    const hangsPartly = partly.sum();
    const hangsFreely = freely.sum();
    for (let x = 0; x < width; x++) {
      const here = Math.min(1, share[x]);
      if (here < 0.004) continue;
      const region = regions[x];
      const isIsland = islands.has(region);
      const colour = isIsland ? islandColour : colours[region % colours.length];
      const some = hangsPartly === null ? 0 : Math.min(1, hangsPartly[x] / here);
      const free = hangsFreely === null ? 0 : Math.min(1, hangsFreely[x] / here);
      let shade = 1 - 0.12 * some - 0.3 * free;
      const diagonal = (x + pictureRow) % hatch;
      const stripe = hatch / (free > some ? 2 : 4);
      if (!isIsland && some + free > 0.4 && diagonal < stripe) shade -= 0.2;
      if (isIsland && (x - pictureRow + 65_536 * hatch) % hatch < hatch / 4) shade -= 0.2;
      // The contour, where a pixel is material in part, is drawn out.
      const edge = 1.6 * here * (1 - here);
      const at = 4 * (pictureRow * width + x);
      for (let channel = 0; channel < 3; channel++) {
        const fill = shade * colour[channel];
        data[at + channel] = fill + edge * (outline[channel] - fill);
      }
      data[at + 3] = 255 * Math.min(1, here + edge);
    }
  }
}
