export type Vector = readonly [x: number, y: number, z: number];

export function dot(a: Vector, b: Vector): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

export function cross(a: Vector, b: Vector): Vector {
  return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
}

export function normalized(a: Vector): Vector {
  const length = Math.sqrt(dot(a, a)) || 1;
  return [a[0] / length, a[1] / length, a[2] / length];
}

/** u * a + v * b + w * c. */
export function combine(a: Vector, b: Vector, c: Vector, [u, v, w]: Vector): Vector {
  return [
    u * a[0] + v * b[0] + w * c[0],
    u * a[1] + v * b[1] + w * c[1],
    u * a[2] + v * b[2] + w * c[2],
  ];
}

/** A parallel projection: millimetres to pixels, depth in millimetres, growing away from the eye. */
export interface Camera {
  right: Vector;
  up: Vector;
  /** Unit vector from the scene towards the eye. */
  toEye: Vector;
  pixelsPerMillimetre: number;
  /** Pixel of the world's origin. */
  originX: number;
  originY: number;
}

/** Looks at the origin from `azimuth` degrees around z (0 along +x) and `elevation` degrees above the plate. */
export function cameraAxes(
  azimuth: number,
  elevation: number,
): Pick<Camera, 'right' | 'up' | 'toEye'> {
  const a = (azimuth * Math.PI) / 180;
  const e = (elevation * Math.PI) / 180;
  const toEye: Vector = [Math.cos(e) * Math.cos(a), Math.cos(e) * Math.sin(a), Math.sin(e)];
  const right: Vector = [-Math.sin(a), Math.cos(a), 0];
  return { right, up: cross(toEye, right), toEye };
}

/** Column, row and depth of a place. */
export function projected(camera: Camera, place: Vector): Vector {
  const { right, up, toEye, pixelsPerMillimetre, originX, originY } = camera;
  return [
    originX + pixelsPerMillimetre * dot(place, right),
    originY - pixelsPerMillimetre * dot(place, up),
    -dot(place, toEye),
  ];
}

/** The same for places given as x, y, z, x, y, z ... */
export function allProjected(camera: Camera, places: Float32Array): Float32Array {
  const { right, up, toEye, pixelsPerMillimetre: scale, originX, originY } = camera;
  const [rx, ry, rz] = right;
  const [ux, uy, uz] = up;
  const [ex, ey, ez] = toEye;
  const result = new Float32Array(places.length);
  for (let i = 0; i < places.length; i += 3) {
    const x = places[i];
    const y = places[i + 1];
    const z = places[i + 2];
    result[i] = originX + scale * (x * rx + y * ry + z * rz);
    result[i + 1] = originY - scale * (x * ux + y * uy + z * uz);
    result[i + 2] = -(x * ex + y * ey + z * ez);
  }
  return result;
}
