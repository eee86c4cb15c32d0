import sharp, { type OverlayOptions } from 'sharp';
import { label } from './label.js';
import { legend } from './legend.js';
import { background, type PointMark, pointColours } from './palette.js';
import type { PartScene } from './part_scene.js';
import { drawView, frameOf, type View } from './part_view.js';

const panelWidth = 760;
/** A needle would otherwise be drawn as wide as the panel, and dozens of times as high. */
const highestPanel = 1000;
const titleHeight = 54;
const afterLegend = 10;
const padding = 28;

const sides: View[] = [
  { azimuth: -60, elevation: 6, withPlate: true },
  { azimuth: 120, elevation: 6, withPlate: true },
];
const undersides: View[] = [
  { azimuth: -60, elevation: -40, withPlate: false },
  { azimuth: 120, elevation: -40, withPlate: false },
];

/** The part on its plate with pillars under its points, from the front and from the back: a PNG. */
export function sidesPicture(scene: PartScene, words: Words, pause: Pause): Promise<Buffer> {
  return picture(scene, words, sides, pause);
}

/** The part with its points from below, where they sit: a PNG. */
export function undersidePicture(scene: PartScene, words: Words, pause: Pause): Promise<Buffer> {
  return picture(scene, words, undersides, pause);
}

/** What stands above the views. */
export interface Words {
  title: string;
  /** What the points of a colour are, in the order of the legend. */
  points: Partial<Record<PointMark, string>>;
}

/** Called after each view, so that others may use the thread; its failure ends the drawing. */
export type Pause = () => Promise<void>;

/** Views that a picture has. */
export const viewCount = 2;

async function picture(
  scene: PartScene,
  words: Words,
  views: readonly View[],
  pause: Pause,
): Promise<Buffer> {
  const frames = views.map((view) => frameOf(scene, view, panelWidth, highestPanel));
  const panelHeight = Math.max(...frames.map((frame) => frame.height));
  const width = padding + views.length * (panelWidth + padding);
  const bar = titleBar(words, width);
  const height = bar.height + panelHeight + padding;
  const panels: OverlayOptions[] = [];
  for (const [i, frame] of frames.entries()) {
    panels.push({
      input: drawView(scene, views[i], frame),
      raw: { width: frame.width, height: frame.height, channels: 3 },
      left: padding + i * (panelWidth + padding),
      top: bar.height + panelHeight - frame.height,
    });
    await pause();
  }
  return sharp({ create: { width, height, channels: 3, background } })
    .composite([...panels, { input: Buffer.from(bar.svg), left: 0, top: 0 }])
    .png()
    .toBuffer();
}

function titleBar({ title, points }: Words, width: number): { svg: string; height: number } {
  const entries = Object.entries(points).map(([mark, text]) => ({
    mark: `<circle r="7" fill="${pointColours[mark as PointMark]}"/>`,
    markRadius: 7,
    text,
  }));
  const key = legend(entries, padding, width - 2 * padding);
  const height = titleHeight + key.height + afterLegend;
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}">
    ${label(title, padding, 36, { size: 22 })}
    <g transform="translate(0 ${titleHeight})">${key.svg}</g></svg>`;
  return { svg, height };
}
