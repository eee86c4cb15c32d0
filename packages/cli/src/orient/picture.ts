import { basename } from 'node:path';
import { setImmediate } from 'node:timers/promises';
import sharp from 'sharp';
import { type Orientation, turnedMesh } from 'stiltforge/orientation';
import type { Triangles } from 'stiltforge/slicing';
import { contactSheet } from '../pictures/contact_sheet.js';
import { label } from '../pictures/label.js';
import { background } from '../pictures/palette.js';
import { partScene } from '../pictures/part_scene.js';
import { drawView, type Frame, frameOf } from '../pictures/part_view.js';
import { counted } from '../wording.js';

const tileWidth = 460;
const highestView = 460;
const captionHeight = 60;
const padding = 20;
const columns = 4;
const headerHeight = 60;
const view = { azimuth: -60, elevation: 6, withPlate: true };

export interface PictureSettings {
  criticalAngle: number;
  layerHeight: number;
  lift?: number;
}

interface TitledOrientation {
  title: string;
  orientation: Orientation;
}

/** The part in each orientation, on its plate with pillars under its supports: a PNG. */
export async function orientationsPicture(
  name: string,
  mesh: Triangles,
  orientations: readonly TitledOrientation[],
  settings: PictureSettings,
  signal: AbortSignal,
): Promise<Buffer> {
  const drawn: Drawn[] = [];
  for (const { orientation } of orientations) {
    drawn.push(draw(mesh, orientation, settings));
    // Signals have their turn here.
    await setImmediate();
    signal.throwIfAborted();
  }
  const highest = Math.max(...drawn.map(({ frame }) => frame.height));
  const tile = { width: tileWidth, height: highest + captionHeight + padding };
  const tiles = await Promise.all(
    orientations.map((titled, i) => tileOf(titled, drawn[i], tile.height)),
  );
  const width = tileWidth * Math.min(columns, tiles.length);
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${headerHeight}">
    ${label(basename(name), padding, 40, { size: 22 })}</svg>`;
  return contactSheet(tiles, tile, columns, { svg, height: headerHeight });
}

interface Drawn {
  frame: Frame;
  pixels: Buffer;
}

function draw(
  mesh: Triangles,
  { turn, supports }: Orientation,
  { criticalAngle, layerHeight, lift }: PictureSettings,
): Drawn {
  const points = supports.map(({ x, y, z, kind }) => ({ position: [x, y, z] as const, kind }));
  const scene = partScene(turnedMesh(mesh, turn), points, criticalAngle, layerHeight, lift);
  const frame = frameOf(scene, view, tileWidth - 2 * padding, highestView);
  return { frame, pixels: drawView(scene, view, frame) };
}

function tileOf(
  { title, orientation }: TitledOrientation,
  { frame, pixels }: Drawn,
  height: number,
): Promise<Buffer> {
  const { points, height: partHeight } = orientation.measures;
  const caption = `${counted(points, 'support')}, ${partHeight.toFixed(1)} mm high`;
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" width="${tileWidth}" height="${height}">
    ${label(title, padding, height - 34, { size: 18 })}
    ${label(caption, padding, height - 12, { size: 15 })}</svg>`;
  return sharp({ create: { width: tileWidth, height, channels: 3, background } })
    .composite([
      {
        input: pixels,
        raw: { width: frame.width, height: frame.height, channels: 3 },
        left: padding,
        top: height - captionHeight - frame.height,
      },
      { input: Buffer.from(svg), left: 0, top: 0 },
    ])
    .png()
    .toBuffer();
}
