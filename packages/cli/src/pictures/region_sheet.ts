import sharp, { type Sharp } from 'sharp';
import { type GroupImageName, type GroupImages, groupImageNames } from 'stiltforge/analysis';
import { contactSheet } from './contact_sheet.js';
import { label } from './label.js';
import { legend } from './legend.js';
import { background, type PointMark } from './palette.js';
import { pointMark } from './slice_tile.js';

/** What each image shows, in the order of the sheet. */
const captions: [name: GroupImageName, title: string, meaning: string][] = [
  ['sample', 'sample', 'white: may carry a support'],
  ['ghost', 'ghost', 'red: near a support from below'],
  ['angle', 'angle', 'blue: carried by the layer below'],
  ['stroke', 'stroke', 'green: near the contour'],
  ['combined', 'combined', 'the three terms together'],
  ['score', 'score', 'dark red: wants a support most'],
  ['scoreSupport', 'score and supports', 'supports on the score'],
  ['support', 'support', 'white: placed supports'],
];

const tile = { width: 300, height: 348 };
const padding = 14;
const captionHeight = 58;
const headerHeight = 48;
const noLegend = { svg: '', height: 0 };

/** Column and row in the region's box, of a point and how it is marked. */
export interface RegionPoint {
  column: number;
  row: number;
  kind: PointMark;
}

const meanings: Partial<Record<PointMark, string>> = {
  island: 'support under an island',
  overhang: 'support under an overhang',
  added: 'added by finishing',
  dropped: 'merged or left out by finishing',
};

export interface RegionPictures {
  /** PNG files by image name, one pixel for each pixel of the region's box. */
  images: Record<GroupImageName, Buffer>;
  /** A PNG with all eight, enlarged or reduced to tiles of one size, with their names. */
  sheet: Buffer;
}

/** The images of a region as PNGs and on one sheet with their names; its layer counts from 0, it from 1. */
export async function regionSheet(
  rendered: GroupImages,
  layer: number,
  region: number,
  points?: readonly RegionPoint[],
): Promise<RegionPictures> {
  const pngs = await Promise.all(groupImageNames.map((name) => png(rendered, name)));
  const tiles = await Promise.all(
    captions.map(([name, title, meaning]) => captionedTile(rendered, name, title, meaning, points)),
  );
  const title = `Layer ${layer}, region ${region}: ${rendered.width} x ${rendered.height} pixels`;
  const width = 4 * tile.width;
  const kinds = new Set(points?.map(({ kind }) => kind));
  const entries = Object.entries(meanings)
    .filter(([kind]) => kinds.has(kind as PointMark))
    .map(([kind, text]) => ({ mark: pointMark(kind as PointMark), markRadius: 8, text }));
  const key = entries.length > 0 ? legend(entries, padding, width - 2 * padding) : noLegend;
  const height = headerHeight + key.height;
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}">
    ${label(title, padding, 32, { size: 20 })}
    <g transform="translate(0 ${headerHeight})">${key.svg}</g></svg>`;
  return {
    images: Object.fromEntries(groupImageNames.map((name, i) => [name, pngs[i]])) as Record<
      GroupImageName,
      Buffer
    >,
    sheet: await contactSheet(tiles, tile, 4, { svg, height }),
  };
}

function raw({ width, height, images }: GroupImages, name: GroupImageName): Sharp {
  return sharp(images[name], { raw: { width, height, channels: 4 } });
}

function png(rendered: GroupImages, name: GroupImageName): Promise<Buffer> {
  return raw(rendered, name).png({ compressionLevel: 9 }).toBuffer();
}

async function captionedTile(
  rendered: GroupImages,
  name: GroupImageName,
  title: string,
  meaning: string,
  points: readonly RegionPoint[] | undefined,
): Promise<Buffer> {
  const side = tile.width - 2 * padding;
  const scale = Math.min(side / rendered.width, side / rendered.height);
  const width = Math.max(1, Math.round(scale * rendered.width));
  const height = Math.max(1, Math.round(scale * rendered.height));
  const marks = name === 'support' || name === 'scoreSupport';
  const input = await raw(rendered, name)
    // Single marked pixels would vanish in the mean of their surroundings.
    .resize(width, height, { fit: 'fill', kernel: scale >= 1 || marks ? 'nearest' : 'mitchell' })
    .png()
    .toBuffer();
  const rings = !marks ? '' : points ? pointMarks(points, scale) : supportRings(rendered, scale);
  const left = padding + Math.floor((side - width) / 2);
  const top = captionHeight + Math.floor((side - height) / 2);
  const overlay = `<svg xmlns="http://www.w3.org/2000/svg" width="${tile.width}" height="${tile.height}">
    ${label(title, padding, 22, { size: 16 })}
    ${label(meaning, padding, 43, { size: 13, colour: '#5b6b7b' })}
    <g transform="translate(${left} ${top})">${rings}</g></svg>`;
  // White pixels and transparent ones must both be told from the sheet.
  const backdrop = { create: { width, height, channels: 3 as const, background: '#93a5b6' } };
  return sharp({ create: { ...tile, channels: 3, background } })
    .composite([
      { input: await sharp(backdrop).png().toBuffer(), left, top },
      { input, left, top },
      { input: Buffer.from(overlay), left: 0, top: 0 },
    ])
    .png()
    .toBuffer();
}

function pointMarks(points: readonly RegionPoint[], scale: number): string {
  return points
    .map(({ column, row, kind }) => {
      const x = (scale * (column + 0.5)).toFixed(1);
      const y = (scale * (row + 0.5)).toFixed(1);
      return `<g transform="translate(${x} ${y})">${pointMark(kind)}</g>`;
    })
    .join('');
}

/** A ring around each support: one pixel is hard to see. */
function supportRings({ width, height, images }: GroupImages, scale: number): string {
  const rings: string[] = [];
  for (let pixel = 0; pixel < width * height; pixel++) {
    if (images.support[4 * pixel] !== 255) continue;
    const x = scale * ((pixel % width) + 0.5);
    const y = scale * (Math.floor(pixel / width) + 0.5);
    rings.push(
      `<circle cx="${x.toFixed(1)}" cy="${y.toFixed(1)}" r="6" fill="none" stroke="#00b7ff" stroke-width="2"/>`,
    );
  }
  return rings.join('');
}
