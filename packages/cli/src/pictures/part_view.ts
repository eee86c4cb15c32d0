import { allProjected, type Camera, cameraAxes } from './camera.js';
import { ambientLight } from './occlusion.js';
import type { PartScene } from './part_scene.js';
import { type DrawnSurface, Shading } from './part_shading.js';
import type { Surface } from './pillars.js';
import { ballsOf, drawBall } from './point_balls.js';
import { fine, Visibility } from './visibility.js';

/** Corners of the round plate. */
const rimCorners = 96;

/** From where the part is seen, and whether its plate and pillars are. */
export interface View {
  azimuth: number;
  elevation: number;
  withPlate: boolean;
}

/** A panel that holds everything drawn, in pixels, and where the scene's origin lies in it. */
export interface Frame {
  width: number;
  height: number;
  pixelsPerMillimetre: number;
  originX: number;
  originY: number;
}

/** The largest view of a scene within the given size. */
export function frameOf(scene: PartScene, view: View, width: number, highest: number): Frame {
  const axes = { ...cameraAxes(view.azimuth, view.elevation), originX: 0, originY: 0 };
  const camera = { ...axes, pixelsPerMillimetre: 1 };
  let [left, right, top, bottom] = [Infinity, -Infinity, Infinity, -Infinity];
  const include = (places: Float32Array, radius: number): void => {
    const corners = allProjected(camera, places);
    for (let i = 0; i < corners.length; i += 3) {
      const x = corners[i];
      const y = corners[i + 1];
      if (x - radius < left) left = x - radius;
      if (x + radius > right) right = x + radius;
      if (y - radius < top) top = y - radius;
      if (y + radius > bottom) bottom = y + radius;
    }
  };
  include(scene.part.positions, scene.pointRadius);
  if (view.withPlate) include(plateSurface(scene), 0);
  const room = 1.02;
  const scale = Math.min(width / (room * (right - left)), highest / (room * (bottom - top)));
  const height = Math.ceil(room * (bottom - top) * scale);
  return {
    width,
    height,
    pixelsPerMillimetre: scale,
    originX: width / 2 - (scale * (left + right)) / 2,
    originY: height / 2 - (scale * (top + bottom)) / 2,
  };
}

/** Draws a view: red, green and blue bytes of the frame's pixels, row by row. */
export function drawView(scene: PartScene, view: View, frame: Frame): Buffer {
  const camera: Camera = {
    ...cameraAxes(view.azimuth, view.elevation),
    pixelsPerMillimetre: frame.pixelsPerMillimetre * fine,
    originX: frame.originX * fine,
    originY: frame.originY * fine,
  };
  const samples = new Visibility(frame.width * fine, frame.height * fine);
  const draw = (surface: Surface, first: number): DrawnSurface => {
    const corners = allProjected(camera, surface.positions);
    samples.drawTriangles(corners, first);
    return { ...surface, corners, first, end: first + corners.length / 9 };
  };

  const part = draw(scene.part, 0);
  const balls = ballsOf(scene, camera, samples);
  const pillars = draw(view.withPlate ? scene.pillars : noSurface, part.end);
  const light = ambientLight(
    nearestDepths(samples, frame.width, frame.height),
    frame.width,
    frame.height,
    0.04 * Math.max(...scene.size),
    frame.pixelsPerMillimetre,
  );
  const firstBall = pillars.end;
  for (const ball of balls) drawBall(samples, ball, firstBall, scene, camera);
  const plate = firstBall + balls.length;
  if (view.withPlate) samples.drawSurface(allProjected(camera, plateSurface(scene)), plate);
  const shading = new Shading({ scene, camera, part, pillars, balls, firstBall, plate });
  return shading.paint(samples, light, frame.width, frame.height);
}

const noSurface: Surface = { positions: new Float32Array(0), normals: new Float32Array(0) };

/** Of each pixel the depth of its nearest sample. */
function nearestDepths(samples: Visibility, width: number, height: number): Float32Array {
  const nearest = new Float32Array(width * height);
  for (let row = 0, pixel = 0; row < height; row++) {
    for (let column = 0; column < width; column++, pixel++) {
      const upper = row * fine * samples.width + column * fine;
      const lower = upper + samples.width;
      const { depth } = samples;
      nearest[pixel] = Math.min(depth[upper], depth[upper + 1], depth[lower], depth[lower + 1]);
    }
  }
  return nearest;
}

/** The round plate that the part stands on, triangles round its middle. */
function plateSurface({ size, plateZ }: PartScene): Float32Array {
  const radius = 0.56 * Math.hypot(size[0], size[1]) + 3;
  const z = plateZ - 0.01;
  const corner = (i: number): number[] => {
    const angle = (2 * Math.PI * i) / rimCorners;
    return [radius * Math.cos(angle), radius * Math.sin(angle), z];
  };
  return Float32Array.from(
    Array.from({ length: rimCorners }, (_, i) => [0, 0, z, ...corner(i), ...corner(i + 1)]).flat(),
  );
}
