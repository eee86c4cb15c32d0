import sharp from 'sharp';
import { label } from './label.js';

const background = [248, 250, 251];
const islandColour = [247, 148, 128];
/** Neighbouring numbers get colours that are easy to tell apart. */
const regionColours = [
  [167, 199, 231],
  [178, 216, 178],
  [207, 190, 226],
  [244, 220, 160],
  [170, 216, 216],
  [226, 200, 184],
  [200, 208, 220],
];
const pointColours = { island: '#d4141c', overhang: '#ff6a00' } as const;

export interface SlicePicture {
  title: string;
  caption: string;
  /** Pixels of the slice. */
  width: number;
  height: number;
  /** A region number for each pixel, row by row, 0 where there is no material. */
  regions: Uint32Array;
  /** How well each pixel is held by the layer below, 255 for entirely. */
  supportValues: Uint8Array;
  islands: ReadonlySet<number>;
  points: readonly { column: number; row: number; kind: 'island' | 'overhang' }[];
  /** Points of lower layers, shown small. */
  earlierPoints: readonly { column: number; row: number }[];
}

const titleHeight = 66;
const padding = 20;

/**
 * A slice with its regions in colours, islands in red, overhanging pixels darker, and the points placed
 * in it, scaled to fit into a tile: a PNG.
 */
export async function slicePicture(
  slice: SlicePicture,
  tile: { width: number; height: number },
): Promise<Buffer> {
  const room = { width: tile.width - 2 * padding, height: tile.height - titleHeight - padding };
  const view = viewOf(slice, room.width / room.height);
  const scale = room.width / view.width;
  const input = await sharp(paint(slice, view), {
    raw: { width: view.width, height: view.height, channels: 3 },
  })
    .resize(room.width, room.height, { kernel: scale > 1 ? 'nearest' : 'mitchell', fit: 'fill' })
    .png()
    .toBuffer();
  const place = (point: { column: number; row: number }): string =>
    `cx="${(padding + scale * (point.column + 0.5 - view.left)).toFixed(1)}" ` +
    `cy="${(titleHeight + scale * (point.row + 0.5 - view.top)).toFixed(1)}"`;
  const earlier = slice.earlierPoints
    .filter(({ column, row }) => slice.regions[row * slice.width + column] !== 0)
    .map((point) => `<circle ${place(point)} r="2.6" fill="#5b6b7b" opacity="0.55"/>`);
  const placed = slice.points.map(
    (point) =>
      `<circle ${place(point)} r="7" fill="${pointColours[point.kind]}" stroke="#fff" stroke-width="2"/>`,
  );
  const overlay = `<svg xmlns="http://www.w3.org/2000/svg" width="${tile.width}" height="${tile.height}">
    ${label(slice.title, padding, 30, { size: 19 })}
    ${label(slice.caption, padding, 53, { size: 14, colour: '#5b6b7b' })}
    ${earlier.join('')}${placed.join('')}</svg>`;
  const [r, g, b] = background;
  return sharp({ create: { ...tile, channels: 3, background: { r, g, b } } })
    .composite([
      { input, left: padding, top: titleHeight },
      { input: Buffer.from(overlay), left: 0, top: 0 },
    ])
    .png({ compressionLevel: 9 })
    .toBuffer();
}

interface View {
  left: number;
  top: number;
  width: number;
  height: number;
}

/** The smallest part of the plane with the wanted shape that holds all material and some air. */
function viewOf({ width, height, regions }: SlicePicture, aspect: number): View {
  let [left, right, top, bottom] = [width, 0, height, 0];
  for (let row = 0; row < height; row++) {
    for (let column = 0; column < width; column++) {
      if (regions[row * width + column] === 0) continue;
      left = Math.min(left, column);
      right = Math.max(right, column + 1);
      top = Math.min(top, row);
      bottom = Math.max(bottom, row + 1);
    }
  }
  if (right === 0) [left, right, top, bottom] = [0, width, 0, height];
  const air = 0.03 * Math.max(right - left, bottom - top) + 2;
  const wide = Math.max(right - left, aspect * (bottom - top)) + 2 * air;
  const size = { width: Math.ceil(wide), height: Math.ceil(wide / aspect) };
  return {
    ...size,
    left: Math.floor((left + right - size.width) / 2),
    top: Math.floor((top + bottom - size.height) / 2),
  };
}

function paint(slice: SlicePicture, view: View): Buffer {
  const rgb = Buffer.alloc(3 * view.width * view.height);
  for (let y = 0; y < view.height; y++) {
    for (let x = 0; x < view.width; x++) {
      const row = view.top + y;
      const column = view.left + x;
      const inside = row >= 0 && column >= 0 && row < slice.height && column < slice.width;
      const pixel = row * slice.width + column;
      const region = inside ? slice.regions[pixel] : 0;
      const base = colourOfRegion(region, slice.islands);
      const shade =
        region === 0 || slice.islands.has(region)
          ? 1
          : 0.62 + 0.38 * (slice.supportValues[pixel] / 255);
      for (let c = 0; c < 3; c++) rgb[3 * (y * view.width + x) + c] = shade * base[c];
    }
  }
  return rgb;
}

function colourOfRegion(region: number, islands: ReadonlySet<number>): number[] {
  if (region === 0) return background;
  if (islands.has(region)) return islandColour;
  return regionColours[region % regionColours.length];
}
