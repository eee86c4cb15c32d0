import { type Camera, combine, projected, type Vector } from './camera.js';
import { type Colour, colourOf } from './colour.js';
import { type PointMark, pointColours } from './palette.js';
import type { PartScene } from './part_scene.js';
import { Surroundings } from './surroundings.js';
import type { Visibility } from './visibility.js';

/** Of a point's radius, what its ball has. */
const ballSize: Record<PointMark, number> = {
  island: 1,
  overhang: 1,
  added: 1,
  dropped: 0.6,
  weakest: 1,
};

/** Samples along a side of a square of a ball that shows or hides as one. */
const patch = 4;

/** A point, drawn as a ball. */
export interface Ball {
  /** Number of the point. */
  point: number;
  colour: Colour;
  centre: Vector;
  /** The air below the point. */
  air: Vector;
  /** mm */
  size: number;
  /** Column, row and depth of the centre; radius in samples. */
  column: number;
  row: number;
  depth: number;
  radius: number;
  /** The air is in sight: so is all of the ball that stands in front. */
  isOpen: boolean;
}

/** `part`: what is seen of the part alone. */
export function ballsOf(scene: PartScene, camera: Camera, part: Visibility): Ball[] {
  return scene.kinds.map((kind, point) => {
    const [x, y, z] = scene.points.subarray(3 * point, 3 * point + 3);
    const [column, row, depth] = projected(camera, [x, y, z]);
    const air: Vector = [x, y, z - scene.layerHeight / 2];
    const [airColumn, airRow, airDepth] = projected(camera, air);
    const size = scene.pointRadius * ballSize[kind];
    const seen = Math.floor(airRow) * part.width + Math.floor(airColumn);
    return {
      point,
      colour: colourOf(pointColours[kind]),
      centre: [x, y, z],
      air,
      size,
      column,
      row,
      depth,
      radius: size * camera.pixelsPerMillimetre,
      isOpen: airDepth < part.depth[seen],
    };
  });
}

/** Half of a ball may stick through a thin wall into air that its point is not in: that half is left out. */
export function drawBall(
  samples: Visibility,
  ball: Ball,
  firstBall: number,
  scene: PartScene,
  camera: Camera,
): void {
  const { column, row, radius } = ball;
  const top = Math.max(0, Math.floor(row - radius));
  const bottom = Math.min(samples.height - 1, Math.ceil(row + radius));
  const left = Math.max(0, Math.floor(column - radius));
  const right = Math.min(samples.width - 1, Math.ceil(column + radius));
  const patches = new Map<number, boolean>();
  const shows = (u: number, v: number, w: number, x: number, y: number): boolean => {
    const key = Math.floor((y - top) / patch) * 4096 + Math.floor((x - left) / patch);
    let shown = patches.get(key);
    if (shown === undefined) {
      const r = ball.size;
      const [x, y, z] = ball.centre;
      const out = combine(camera.right, camera.up, camera.toEye, [r * u, r * v, r * w]);
      shown = isInSameAir(scene, ball, [x + out[0], y + out[1], z + out[2]]);
      patches.set(key, shown);
    }
    return shown;
  };
  for (let y = top; y <= bottom; y++) {
    const v = (row - y - 0.5) / radius;
    for (let x = left; x <= right; x++) {
      const u = (x + 0.5 - column) / radius;
      const rest = 1 - u * u - v * v;
      if (rest <= 0) continue;
      const w = Math.sqrt(rest);
      const depth = ball.depth - ball.size * w;
      const sample = y * samples.width + x;
      if (depth >= samples.depth[sample]) continue;
      if (!ball.isOpen && !shows(u, v, w, x, y)) continue;
      samples.depth[sample] = depth;
      samples.surface[sample] = firstBall + ball.point;
    }
  }
}

/** Whether a place of a ball is reached from the air below its point: straight, or from below round a tip. */
function isInSameAir(scene: PartScene, { point, air, centre, size }: Ball, place: Vector): boolean {
  const around = surroundingsOf(scene);
  if (!around.separate(point, air, place)) return true;
  const below: Vector = [centre[0], centre[1], centre[2] - size];
  return !around.separate(point, air, below) && !around.separate(point, below, place);
}

const surroundings = new WeakMap<PartScene, Surroundings>();

/** Made when the first point that isn't open in a view asks for it. */
function surroundingsOf(scene: PartScene): Surroundings {
  let result = surroundings.get(scene);
  if (result === undefined) {
    const reach = scene.pointRadius + scene.layerHeight;
    result = new Surroundings(scene.part.positions, scene.points, reach);
    surroundings.set(scene, result);
  }
  return result;
}
