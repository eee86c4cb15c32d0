import type { Triangles } from 'stiltforge/slicing';
import { boundingBox } from '../mesh/triangles.js';
import type { Vector } from './camera.js';
import type { PointMark } from './palette.js';
import { pillarFeet, pillarSurface, type Surface } from './pillars.js';
import { type PlateShadow, plateShadow } from './plate_shadow.js';
import { cornerNormals } from './surface_normals.js';

export interface PartPoint {
  /** Millimetres, in the coordinates of the mesh. */
  position: Vector;
  kind: PointMark;
}

/** A part, moved so that its box is centred on x = y = 0, with its points and what they stand on. */
export interface PartScene {
  part: Surface & { positions: Triangles };
  /** x, y, z, x, y, z ... */
  points: Float32Array;
  kinds: PointMark[];
  pillars: Surface;
  size: Vector;
  plateZ: number;
  shadow: PlateShadow;
  pointRadius: number;
  /** mm; the air below a point is half of it lower. */
  layerHeight: number;
  /** cos of the steepest tinted surface's angle to the plate. */
  tintFrom: number;
}

export function partScene(
  mesh: Triangles,
  points: readonly PartPoint[],
  criticalAngle: number,
  layerHeight: number,
  lift = 0,
): PartScene {
  const { min, max } = boundingBox(mesh);
  const plateZ = min[2] - lift;
  const size: Vector = [max[0] - min[0], max[1] - min[1], max[2] - min[2]];
  const centreX = (min[0] + max[0]) / 2;
  const centreY = (min[1] + max[1]) / 2;
  const positions = mesh.slice();
  for (let i = 0; i < positions.length; i += 3) {
    positions[i] -= centreX;
    positions[i + 1] -= centreY;
  }
  const placesOf = (some: readonly PartPoint[]): Float32Array =>
    Float32Array.from(some.flatMap(({ position: [x, y, z] }) => [x - centreX, y - centreY, z]));
  const places = placesOf(points);
  const pointRadius = 0.008 * Math.hypot(...size);
  const supported = placesOf(points.filter(({ kind }) => isSupport(kind)));
  const feet = pillarFeet(supported, positions, plateZ);
  return {
    part: { positions, normals: cornerNormals(positions) },
    points: places,
    kinds: points.map(({ kind }) => kind),
    pillars: pillarSurface(supported, feet, 0.4 * pointRadius),
    size,
    plateZ,
    shadow: plateShadow(positions, plateZ, 0.75 * Math.max(size[0], size[1])),
    pointRadius,
    layerHeight,
    tintFrom: Math.cos((criticalAngle * Math.PI) / 180),
  };
}

/** Whether a pillar stands under it. */
function isSupport(kind: PointMark): boolean {
  return kind !== 'dropped' && kind !== 'weakest';
}
