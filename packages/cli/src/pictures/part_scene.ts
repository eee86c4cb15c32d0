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

/** `built`: the supports as geometry; pillars stand for them unless given. */
export function partScene(
  mesh: Triangles,
  points: readonly PartPoint[],
  criticalAngle: number,
  layerHeight: number,
  lift = 0,
  built?: Triangles,
): PartScene {
  const { min, max } = boundingBox(mesh);
  const plateZ = min[2] - lift;
  const size: Vector = [max[0] - min[0], max[1] - min[1], max[2] - min[2]];
  const centreX = (min[0] + max[0]) / 2;
  const centreY = (min[1] + max[1]) / 2;
  const centred = (triangles: Triangles): Triangles => {
    const moved = triangles.slice();
    for (let i = 0; i < moved.length; i += 3) {
      moved[i] -= centreX;
      moved[i + 1] -= centreY;
    }
    return moved;
  };
  const positions = centred(mesh);
  const placesOf = (some: readonly PartPoint[]): Float32Array =>
    Float32Array.from(some.flatMap(({ position: [x, y, z] }) => [x - centreX, y - centreY, z]));
  const places = placesOf(points);
  const pointRadius = 0.008 * Math.hypot(...size);
  const pillars = (): Surface => {
    const supported = placesOf(points.filter(({ kind }) => isSupport(kind)));
    return pillarSurface(supported, pillarFeet(supported, positions, plateZ), 0.4 * pointRadius);
  };
  return {
    part: { positions, normals: cornerNormals(positions) },
    points: places,
    kinds: points.map(({ kind }) => kind),
    pillars: built === undefined ? pillars() : smooth(centred(built)),
    size,
    plateZ,
    shadow: plateShadow(positions, plateZ, 0.75 * Math.max(size[0], size[1])),
    pointRadius,
    layerHeight,
    tintFrom: Math.cos((criticalAngle * Math.PI) / 180),
  };
}

function smooth(positions: Triangles): Surface {
  return { positions, normals: cornerNormals(positions) };
}

/** Whether a pillar stands under it. */
function isSupport(kind: PointMark): boolean {
  return kind !== 'dropped' && kind !== 'weakest';
}
