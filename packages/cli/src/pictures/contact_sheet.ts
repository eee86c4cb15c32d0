import sharp from 'sharp';
import { background } from './palette.js';

export interface Tile {
  width: number;
  height: number;
}

/** Pictures of one size side by side, `columns` to a row, with a title bar above if one is given: a PNG. */
export async function contactSheet(
  tiles: readonly Buffer[],
  tile: Tile,
  columns: number,
  header?: { svg: string; height: number },
): Promise<Buffer> {
  const top = header?.height ?? 0;
  const width = tile.width * Math.min(columns, tiles.length);
  const height = top + tile.height * Math.ceil(tiles.length / columns);
  const placed = tiles.map((input, i) => ({
    input,
    left: tile.width * (i % columns),
    top: top + tile.height * Math.floor(i / columns),
  }));
  const bar = header === undefined ? [] : [{ input: Buffer.from(header.svg), left: 0, top: 0 }];
  return sharp({ create: { width, height, channels: 3, background } })
    .composite([...bar, ...placed])
    .png()
    .toBuffer();
}
