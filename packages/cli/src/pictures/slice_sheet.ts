import sharp from 'sharp';
import { label } from './label.js';
import { type LegendEntry, legend } from './legend.js';
import { background, type PointMark } from './palette.js';
import {
  earlierPointColour,
  islandColour,
  overhangShade,
  paintSlice,
  pointMark,
  regionColours,
  type SlicePicture,
  sliceMarks,
  tileHeight,
  tileWidth,
} from './slice_tile.js';

const columns = 3;
const padding = 20;
const titleHeight = 50;
const afterLegend = 8;

export interface SliceSheet {
  /** All slices with a title and what the colours and marks mean: a PNG. */
  sheet: Buffer;
  /** Each slice alone: PNGs. */
  tiles: Buffer[];
}

/**
 * `count` slices side by side, each painted as it comes, so that no two need be in memory. `earlier` says
 * which points of lower layers they show, `kinds` what those of the layer are.
 */
export async function sliceSheet(
  slices: AsyncIterable<SlicePicture>,
  count: number,
  title: string,
  earlier: string,
  kinds: Partial<Record<PointMark, string>>,
): Promise<SliceSheet> {
  const width = tileWidth * Math.min(columns, count);
  const key = legend(legendEntries(earlier, kinds), padding, width - 2 * padding);
  const top = titleHeight + key.height + afterLegend;
  const height = top + tileHeight * Math.ceil(count / columns);
  const rgb = await sharp({ create: { width, height, channels: 3, background } })
    .raw()
    .toBuffer();
  const places: { left: number; top: number }[] = [];
  const marks: string[] = [];
  for await (const slice of slices) {
    const left = tileWidth * (places.length % columns);
    const place = { left, top: top + tileHeight * Math.floor(places.length / columns) };
    paintSlice(slice, rgb, width, place.left, place.top);
    marks.push(`<g transform="translate(${left} ${place.top})">${sliceMarks(slice)}</g>`);
    places.push(place);
  }
  const overlay = `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}">
    ${label(title, padding, 34, { size: 22 })}
    <g transform="translate(0 ${titleHeight})">${key.svg}</g>${marks.join('')}</svg>`;
  const raw = { width, height, channels: 3 as const };
  const drawn = await sharp(rgb, { raw })
    .composite([{ input: Buffer.from(overlay) }])
    .removeAlpha()
    .raw()
    .toBuffer();
  const [sheet, ...tiles] = await Promise.all([
    sharp(drawn, { raw }).png().toBuffer(),
    ...places.map((place) =>
      sharp(drawn, { raw })
        .extract({ ...place, width: tileWidth, height: tileHeight })
        .png()
        .toBuffer(),
    ),
  ]);
  return { sheet, tiles };
}

function legendEntries(earlier: string, kinds: Partial<Record<PointMark, string>>): LegendEntry[] {
  const [, first, second] = regionColours;
  const swatch = (fill: string, x: number, opacity = 1): string =>
    `<rect x="${x}" y="-8" width="16" height="16" fill="${fill}" opacity="${opacity}"/>`;
  const points = Object.entries(kinds).map(([kind, text]) => ({
    mark: pointMark(kind as PointMark),
    markRadius: 8,
    text,
  }));
  return [
    { mark: swatch(first, -17) + swatch(second, 1), markRadius: 17, text: 'regions' },
    { mark: swatch(islandColour, -8), markRadius: 8, text: 'islands: rest on nothing' },
    {
      mark: swatch(first, -8) + swatch('#000000', -8, 1 - overhangShade),
      markRadius: 8,
      text: 'darker: hangs over',
    },
    ...points,
    { mark: `<circle r="3" fill="${earlierPointColour}"/>`, markRadius: 4, text: earlier },
  ];
}
