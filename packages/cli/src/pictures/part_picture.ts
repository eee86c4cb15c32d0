import sharp, { type OverlayOptions } from 'sharp';
import { label, labelWidth } from './label.js';
import { background, pointColours } from './palette.js';
import type { PartScene } from './part_scene.js';
import { drawView, frameOf, type View } from './part_view.js';

const panelWidth = 760;
/** A needle would otherwise be drawn as wide as the panel, and dozens of times as high. */
const highestPanel = 1000;
const titleHeight = 64;
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
export function sidesPicture(scene: PartScene, title: string, pause: Pause): Promise<Buffer> {
  return picture(scene, title, sides, pause);
}

/** The part with its points from below, where they sit: a PNG. */
export function undersidePicture(scene: PartScene, title: string, pause: Pause): Promise<Buffer> {
  return picture(scene, title, undersides, pause);
}

/** Called after each view, so that others may use the thread; its failure ends the drawing. */
export type Pause = () => Promise<void>;

/** Views that a picture has. */
export const viewCount = 2;

async function picture(
  scene: PartScene,
  title: string,
  views: readonly View[],
  pause: Pause,
): Promise<Buffer> {
  const frames = views.map((view) => frameOf(scene, view, panelWidth, highestPanel));
  const panelHeight = Math.max(...frames.map((frame) => frame.height));
  const width = padding + views.length * (panelWidth + padding);
  const height = titleHeight + panelHeight + padding;
  const panels: OverlayOptions[] = [];
  for (const [i, frame] of frames.entries()) {
    panels.push({
      input: drawView(scene, views[i], frame),
      raw: { width: frame.width, height: frame.height, channels: 3 },
      left: padding + i * (panelWidth + padding),
      top: titleHeight + panelHeight - frame.height,
    });
    await pause();
  }
  const overlay = titleBar(title, scene.kinds, width);
  return sharp({ create: { width, height, channels: 3, background } })
    .composite([...panels, { input: Buffer.from(overlay), left: 0, top: 0 }])
    .png()
    .toBuffer();
}

function titleBar(title: string, kinds: PartScene['kinds'], width: number): string {
  const baseline = 42;
  const islands = kinds.filter((kind) => kind === 'island').length;
  const legend = [
    { colour: pointColours.island, text: `${islands} under islands` },
    { colour: pointColours.overhang, text: `${kinds.length - islands} under overhangs` },
  ];
  let right = width - padding;
  const entries = legend.reverse().map(({ colour, text }) => {
    const words = label(text, right, baseline, { size: 18, anchor: 'end' });
    const dot = right - labelWidth(text, 18) - 16;
    right = dot - 28;
    return `${words}<circle cx="${dot}" cy="${baseline - 6}" r="7" fill="${colour}"/>`;
  });
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${titleHeight}">
    ${label(title, padding, baseline, { size: 22 })}${entries.join('')}</svg>`;
}
