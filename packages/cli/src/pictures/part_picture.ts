import sharp from 'sharp';
import { boundingBox, type Triangles } from '../mesh/triangles.js';
import { label, labelWidth } from './label.js';
import { pillarSurface, pillarsBelow } from './pillars.js';
import { type PlateShadow, plateShadow } from './plate_shadow.js';
import {
  type Camera,
  cameraAxes,
  colourOf,
  dot,
  SceneRaster,
  type Vector,
} from './scene_raster.js';
import { cornerNormals } from './surface_normals.js';

const partColour = colourOf('#b4c2d1');
const overhangColour = colourOf('#e8bd9a');
const pillarColour = colourOf('#e0a878');
const plateColour = colourOf('#e7ecf0');
const gridColour = colourOf('#d3dbe2');
const pointColours = { island: '#d4141c', overhang: '#ff6a00' } as const;
const background = '#f8fafb';

/** Drawn this many times larger and scaled down, which smooths the edges. */
const supersampling = 2;
const panelWidth = 760;
/** A needle would otherwise be drawn as wide as the panel, and dozens of times as high. */
const highestPanel = 1000;
const titleHeight = 64;
const padding = 28;

export interface PartPoint {
  /** Millimetres, in the coordinates of the mesh. */
  position: Vector;
  kind: 'island' | 'overhang';
}

export interface PartPictureOptions {
  title: string;
  /** Degrees from the plate below which a surface that looks down is tinted. */
  criticalAngle: number;
}

interface View {
  azimuth: number;
  elevation: number;
  withPlate: boolean;
}

const sides: View[] = [
  { azimuth: -60, elevation: 6, withPlate: true },
  { azimuth: 120, elevation: 6, withPlate: true },
];
const undersides: View[] = [
  { azimuth: -60, elevation: -40, withPlate: false },
  { azimuth: 120, elevation: -40, withPlate: false },
];

/** The part on its plate with pillars under its points, from the front and from the back: a PNG. */
export function sidesPicture(
  mesh: Triangles,
  points: readonly PartPoint[],
  options: PartPictureOptions,
): Promise<Buffer> {
  return picture(mesh, points, options, sides);
}

/** The part with its points from below, where they sit: a PNG. */
export function undersidePicture(
  mesh: Triangles,
  points: readonly PartPoint[],
  options: PartPictureOptions,
): Promise<Buffer> {
  return picture(mesh, points, options, undersides);
}

async function picture(
  mesh: Triangles,
  points: readonly PartPoint[],
  options: PartPictureOptions,
  views: readonly View[],
): Promise<Buffer> {
  const scene = buildScene(mesh, points, options.criticalAngle);
  const frames = views.map((view) => frameOf(scene, view));
  const height = Math.max(...frames.map((frame) => frame.height));
  const panels = await Promise.all(
    frames.map(async (frame, i) => {
      const raster = drawScene(scene, views[i], frame);
      const input = await sharp(raster.toRgba(), {
        raw: { width: raster.width, height: raster.height, channels: 4 },
      })
        .resize(panelWidth, frame.height, { kernel: 'lanczos2' })
        .png()
        .toBuffer();
      return {
        input,
        left: padding + i * (panelWidth + padding),
        top: titleHeight + height - frame.height,
      };
    }),
  );
  const width = padding + views.length * (panelWidth + padding);
  const overlay = titleBar(options.title, points, width, titleHeight + height + padding);
  return sharp({
    create: { width, height: titleHeight + height + padding, channels: 3, background },
  })
    .composite([...panels, { input: Buffer.from(overlay), left: 0, top: 0 }])
    .png({ compressionLevel: 9, palette: true, quality: 95, effort: 8 })
    .toBuffer();
}

interface Scene {
  mesh: Triangles;
  normals: ArrayLike<number>;
  points: readonly PartPoint[];
  pillars: ReturnType<typeof pillarsBelow>;
  size: Vector;
  plateZ: number;
  shadow: PlateShadow;
  pointRadius: number;
  /** cos of the steepest tinted surface's angle to the plate. */
  tintFrom: number;
}

function buildScene(mesh: Triangles, points: readonly PartPoint[], criticalAngle: number): Scene {
  const { min, max } = boundingBox(mesh);
  const size: Vector = [max[0] - min[0], max[1] - min[1], max[2] - min[2]];
  const centre = [(min[0] + max[0]) / 2, (min[1] + max[1]) / 2];
  const centred = mesh.map((value, i) => value - (i % 3 === 2 ? 0 : centre[i % 3]));
  const moved = points.map(({ position: [x, y, z], kind }) => ({
    position: [x - centre[0], y - centre[1], z] as const,
    kind,
  }));
  return {
    mesh: centred,
    normals: cornerNormals(centred),
    points: moved,
    pillars: pillarsBelow(
      moved.map(({ position }) => position),
      centred,
      min[2],
    ),
    size,
    plateZ: min[2],
    shadow: plateShadow(centred, min[2], 0.75 * Math.max(size[0], size[1])),
    pointRadius: 0.008 * Math.hypot(...size),
    tintFrom: Math.cos((criticalAngle * Math.PI) / 180),
  };
}

/** Where the scene's origin lies in a panel that holds everything drawn, in pixels. */
interface Frame {
  height: number;
  pixelsPerMillimetre: number;
  originX: number;
  originY: number;
}

function frameOf(scene: Scene, view: View): Frame {
  const { right, up } = cameraAxes(view.azimuth, view.elevation);
  let [left, rightmost, top, bottom] = [Infinity, -Infinity, -Infinity, Infinity];
  const include = (point: Vector, radius: number): void => {
    left = Math.min(left, dot(point, right) - radius);
    rightmost = Math.max(rightmost, dot(point, right) + radius);
    top = Math.max(top, dot(point, up) + radius);
    bottom = Math.min(bottom, dot(point, up) - radius);
  };
  const { mesh } = scene;
  for (let i = 0; i < mesh.length; i += 3) {
    include([mesh[i], mesh[i + 1], mesh[i + 2]], scene.pointRadius);
  }
  if (view.withPlate) for (const corner of plateRim(scene)) include(corner, 0);
  const pixelsPerMillimetre = Math.min(
    panelWidth / (1.02 * (rightmost - left)),
    highestPanel / (1.02 * (top - bottom)),
  );
  const height = Math.ceil(1.02 * (top - bottom) * pixelsPerMillimetre);
  return {
    height,
    pixelsPerMillimetre,
    originX: panelWidth / 2 - (pixelsPerMillimetre * (left + rightmost)) / 2,
    originY: height / 2 + (pixelsPerMillimetre * (top + bottom)) / 2,
  };
}

function drawScene(scene: Scene, view: View, frame: Frame): SceneRaster {
  const width = panelWidth * supersampling;
  const height = frame.height * supersampling;
  const camera: Camera = {
    ...cameraAxes(view.azimuth, view.elevation),
    pixelsPerMillimetre: frame.pixelsPerMillimetre * supersampling,
    originX: frame.originX * supersampling,
    originY: frame.originY * supersampling,
  };
  const raster = new SceneRaster(width, height, camera);
  raster.drawTriangles(scene.mesh, scene.normals, (_x, _y, z, normalZ) =>
    -normalZ > scene.tintFrom && z > scene.plateZ + 0.1 ? overhangColour : partColour,
  );
  if (view.withPlate) {
    for (const pillar of scene.pillars) {
      raster.drawTriangles(...pillarSurface(pillar, 0.4 * scene.pointRadius), () => pillarColour);
    }
  }
  raster.occlude(0.04 * Math.max(...scene.size));
  for (const { position, kind } of scene.points) {
    raster.drawSphere(position, scene.pointRadius, colourOf(pointColours[kind]));
  }
  if (view.withPlate) drawPlate(raster, scene);
  return raster;
}

/** Corners of the round plate that the part stands on. */
function plateRim({ size, plateZ }: Scene): Vector[] {
  const radius = 0.56 * Math.hypot(size[0], size[1]) + 3;
  return Array.from({ length: 96 }, (_, i) => {
    const angle = (2 * Math.PI * i) / 96;
    return [radius * Math.cos(angle), radius * Math.sin(angle), plateZ - 0.01];
  });
}

function drawPlate(raster: SceneRaster, scene: Scene): void {
  const spacing = 10; // mm
  const lineWidth = 0.12; // mm
  const rim = plateRim(scene);
  const positions = rim.flatMap((corner, i) => [
    ...[0, 0, corner[2]],
    ...corner,
    ...rim[(i + 1) % rim.length],
  ]);
  const normals = positions.map((_, i) => (i % 3 === 2 ? 1 : 0));
  const onLine = (value: number): boolean =>
    Math.abs(value - spacing * Math.round(value / spacing)) < lineWidth;
  raster.drawTriangles(
    positions,
    normals,
    (x, y) => {
      const light = 1 - 0.55 * scene.shadow(x, y);
      const [r, g, b] = onLine(x) || onLine(y) ? gridColour : plateColour;
      return [r * light, g * light, b * light];
    },
    false,
  );
}

function titleBar(
  title: string,
  points: readonly PartPoint[],
  width: number,
  height: number,
): string {
  const baseline = 42;
  const islands = points.filter(({ kind }) => kind === 'island').length;
  const legend = [
    { colour: pointColours.island, text: `${islands} under islands` },
    { colour: pointColours.overhang, text: `${points.length - islands} under overhangs` },
  ];
  let right = width - padding;
  const entries = legend.reverse().map(({ colour, text }) => {
    const words = label(text, right, baseline, { size: 18, anchor: 'end' });
    const dot = right - labelWidth(text, 18) - 16;
    right = dot - 28;
    return `${words}<circle cx="${dot}" cy="${baseline - 6}" r="7" fill="${colour}"/>`;
  });
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}">
    ${label(title, padding, baseline, { size: 22 })}${entries.join('')}</svg>`;
}
