import { label } from './label.js';
import { type PointMark, pointColours } from './palette.js';
import { scaleBar } from './scale_bar.js';

/** Pixels of a tile. */
export const tileWidth = 620;
export const tileHeight = 520;
const titleHeight = 66;
const footHeight = 36;
const padding = 20;
const room = { width: tileWidth - 2 * padding, height: tileHeight - titleHeight - footHeight };

export const islandColour = '#f79480';
/** Neighbouring numbers get colours that are easy to tell apart. */
export const regionColours = [
  '#a7c7e7',
  '#b2d8b2',
  '#cfbee2',
  '#f4dca0',
  '#aad8d8',
  '#e2c8b8',
  '#c8d0dc',
];
/** Of its brightness, what a region has where it hangs over freely. */
export const overhangShade = 0.62;
export const earlierPointColour = '#8c97a3';

/** Most samples along a side of a pixel, for slices that are drawn smaller than they are. */
const finest = 4;

export interface SlicePicture {
  title: string;
  caption: string;
  /** Pixels of the slice. */
  width: number;
  height: number;
  /** mm */
  pixelSize: number;
  /** Columns and rows of the material. */
  box: { left: number; top: number; right: number; bottom: number };
  /** Pixels as the analysis returns them, row by row. */
  labels: Uint32Array;
  /** How well each pixel is held by the layer below, 255 for entirely. */
  supportValues: Uint8Array;
  islands: ReadonlySet<number>;
  points: readonly { column: number; row: number; kind: PointMark }[];
  /** Points of lower layers, shown small. */
  earlierPoints: readonly { column: number; row: number }[];
}

/** Columns and rows of a slice that fill the room for it in a tile. */
interface View {
  left: number;
  top: number;
  /** Pixels of the tile for one of the slice. */
  scale: number;
}

/**
 * Paints a slice into a picture of `stride` pixels a row, three bytes each, its tile's corner at (left,
 * top): regions in colours, islands in red, overhanging pixels darker. Where there is no material the
 * picture stays.
 */
export function paintSlice(
  slice: SlicePicture,
  rgb: Uint8Array,
  stride: number,
  left: number,
  top: number,
): void {
  const { width, height, labels, supportValues, islands } = slice;
  const view = viewOf(slice);
  const grain = Math.min(finest, Math.max(1, Math.round(1 / view.scale)));
  const columns = sampled(room.width * grain, view.left, view.scale * grain, width);
  const rows = sampled(room.height * grain, view.top, view.scale * grain, height);
  const colours = regionColours.map(bytesOf);
  const island = bytesOf(islandColour);
  const share = 1 / (grain * grain);
  // Neighbours are mostly alike.
  let lastLabel = 0;
  let lastValue = 0;
  let colour: readonly number[] = island;
  let shade = 0;
  for (let y = 0; y < room.height; y++) {
    for (let x = 0; x < room.width; x++) {
      let material = 0;
      let red = 0;
      let green = 0;
      let blue = 0;
      for (let sample = 0; sample < grain * grain; sample++) {
        const row = rows[y * grain + Math.floor(sample / grain)];
        const column = columns[x * grain + (sample % grain)];
        if (row < 0 || column < 0) continue;
        const pixel = row * width + column;
        const label = labels[pixel];
        const region = regionOf(label);
        if (region === 0) continue;
        const value = supportValues[pixel];
        if (label !== lastLabel || value !== lastValue) {
          const isIsland = islands.has(region);
          const held = isIsland ? 1 : value / 255;
          colour = isIsland ? island : colours[region % colours.length];
          shade = share * (overhangShade + (1 - overhangShade) * held);
          lastLabel = label;
          lastValue = value;
        }
        material += share;
        red += shade * colour[0];
        green += shade * colour[1];
        blue += shade * colour[2];
      }
      if (material === 0) continue;
      const at = 3 * ((top + titleHeight + y) * stride + left + padding + x);
      rgb[at] = red + (1 - material) * rgb[at];
      rgb[at + 1] = green + (1 - material) * rgb[at + 1];
      rgb[at + 2] = blue + (1 - material) * rgb[at + 2];
    }
  }
}

/** The column or row of the slice under each sample of the room, -1 beyond the slice. */
function sampled(count: number, begin: number, scale: number, end: number): Int32Array {
  return Int32Array.from({ length: count }, (_, sample) => {
    const at = Math.floor(begin + (sample + 0.5) / scale);
    return at < end ? Math.max(-1, at) : -1;
  });
}

/** What stands on the painted slice: title, points and the scale, as SVG round the tile's corner. */
export function sliceMarks(slice: SlicePicture): string {
  const view = viewOf(slice);
  const place = (point: { column: number; row: number }): { x: string; y: string } => ({
    x: (padding + view.scale * (point.column + 0.5 - view.left)).toFixed(1),
    y: (titleHeight + view.scale * (point.row + 0.5 - view.top)).toFixed(1),
  });
  const earlier = slice.earlierPoints
    .filter(({ column, row }) => regionOf(slice.labels[row * slice.width + column]) !== 0)
    .map((point) => {
      const { x, y } = place(point);
      return `<circle cx="${x}" cy="${y}" r="2.6" fill="${earlierPointColour}"/>`;
    });
  const placed = slice.points.map((point) => {
    const { x, y } = place(point);
    return `<g transform="translate(${x} ${y})">${pointMark(point.kind)}</g>`;
  });
  return [
    label(slice.title, padding, 30, { size: 19 }),
    label(slice.caption, padding, 53, { size: 14, colour: '#5b6b7b' }),
    ...earlier,
    ...placed,
    scaleBar(padding, tileHeight - footHeight / 2, view.scale / slice.pixelSize, room.width / 4),
  ].join('');
}

/** What stands for a point, round (0, 0): a disc, a cross for one that is left out, a ring for a place. */
export function pointMark(kind: PointMark): string {
  const colour = pointColours[kind];
  if (kind === 'dropped') {
    return [
      '<path d="M-5 -5L5 5M-5 5L5 -5" stroke="#fff" stroke-width="5" stroke-linecap="round"/>',
      `<path d="M-5 -5L5 5M-5 5L5 -5" stroke="${colour}" stroke-width="2.4" stroke-linecap="round"/>`,
    ].join('');
  }
  if (kind === 'weakest') {
    return `<circle r="8" fill="none" stroke="${colour}" stroke-width="3"/>`;
  }
  return `<circle r="7" fill="${colour}" stroke="#fff" stroke-width="2"/>`;
}

/** The smallest part of the plane with the room's shape that holds all material and some air. */
function viewOf({ box }: SlicePicture): View {
  const wide = box.right - box.left;
  const high = box.bottom - box.top;
  const air = 0.03 * Math.max(wide, high) + 2;
  const scale = Math.min(room.width / (wide + 2 * air), room.height / (high + 2 * air));
  return {
    left: (box.left + box.right - room.width / scale) / 2,
    top: (box.top + box.bottom - room.height / scale) / 2,
    scale,
  };
}

function bytesOf(hex: string): [number, number, number] {
  const value = Number.parseInt(hex.slice(1), 16);
  return [value >> 16, (value >> 8) & 255, value & 255];
}

/** The number of the region that a labelled pixel belongs to, 0 where there is no material. */
function regionOf(label: number): number {
  return label >>> 24 === 0x80 ? label & 0xffffff : 0;
}
