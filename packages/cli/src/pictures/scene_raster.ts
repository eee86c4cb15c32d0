/** A colour, linear light, each channel in [0, 1]. */
export type Colour = readonly [red: number, green: number, blue: number];

export type Vector = readonly [x: number, y: number, z: number];

export function dot(a: Vector, b: Vector): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

export function cross(a: Vector, b: Vector): Vector {
  return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
}

export function normalized(a: Vector): Vector {
  const length = Math.hypot(a[0], a[1], a[2]) || 1;
  return [a[0] / length, a[1] / length, a[2] / length];
}

function combine(a: Vector, b: Vector, c: Vector, [u, v, w]: Vector): Vector {
  return [
    u * a[0] + v * b[0] + w * c[0],
    u * a[1] + v * b[1] + w * c[1],
    u * a[2] + v * b[2] + w * c[2],
  ];
}

/** A parallel projection: world millimetres to pixels, depth growing away from the eye. */
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

/** What lies at a point of a surface, before the light falls on it. */
export type Material = (x: number, y: number, z: number, normalZ: number) => Colour;

/** A picture with a depth buffer: triangles with interpolated normals, and spheres. */
export class SceneRaster {
  readonly colour: Float32Array;
  /** Distance along the line of sight in millimetres, Infinity where nothing was drawn. */
  readonly depth: Float32Array;
  private readonly keyLight: Vector;
  private readonly halfway: Vector;

  constructor(
    readonly width: number,
    readonly height: number,
    readonly camera: Camera,
  ) {
    this.colour = new Float32Array(3 * width * height);
    this.depth = new Float32Array(width * height).fill(Infinity);
    const { right, up, toEye } = camera;
    this.keyLight = normalized(combine(right, up, toEye, [-0.55, 0.6, 0.75]));
    this.halfway = normalized(combine(this.keyLight, toEye, toEye, [1, 1, 0]));
  }

  project(point: Vector): Vector {
    const { right, up, toEye, pixelsPerMillimetre, originX, originY } = this.camera;
    return [
      originX + pixelsPerMillimetre * dot(point, right),
      originY - pixelsPerMillimetre * dot(point, up),
      -dot(point, toEye),
    ];
  }

  /**
   * Nine floats a triangle in `positions` and `normals`. `lit: false` leaves out the light, for things
   * that are meant flat, like the plate.
   */
  drawTriangles(
    positions: ArrayLike<number>,
    normals: ArrayLike<number>,
    material: Material,
    lit = true,
  ): void {
    for (let i = 0; i < positions.length; i += 9) {
      this.drawTriangle(positions, normals, i, material, lit);
    }
  }

  private drawTriangle(
    positions: ArrayLike<number>,
    normals: ArrayLike<number>,
    i: number,
    material: Material,
    lit: boolean,
  ): void {
    const [ax, ay, az] = this.project([positions[i], positions[i + 1], positions[i + 2]]);
    const [bx, by, bz] = this.project([positions[i + 3], positions[i + 4], positions[i + 5]]);
    const [cx, cy, cz] = this.project([positions[i + 6], positions[i + 7], positions[i + 8]]);
    const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
    if (area === 0) return;
    const left = Math.max(0, Math.ceil(Math.min(ax, bx, cx) - 0.5));
    const right = Math.min(this.width - 1, Math.floor(Math.max(ax, bx, cx) - 0.5));
    const top = Math.max(0, Math.ceil(Math.min(ay, by, cy) - 0.5));
    const bottom = Math.min(this.height - 1, Math.floor(Math.max(ay, by, cy) - 0.5));
    for (let row = top; row <= bottom; row++) {
      for (let column = left; column <= right; column++) {
        const x = column + 0.5;
        const y = row + 0.5;
        const wa = ((bx - x) * (cy - y) - (by - y) * (cx - x)) / area;
        const wb = ((cx - x) * (ay - y) - (cy - y) * (ax - x)) / area;
        const wc = 1 - wa - wb;
        if (wa < 0 || wb < 0 || wc < 0) continue;
        const depth = wa * az + wb * bz + wc * cz;
        const pixel = row * this.width + column;
        if (depth >= this.depth[pixel]) continue;
        const mix = (of: ArrayLike<number>, axis: number): number =>
          wa * of[i + axis] + wb * of[i + 3 + axis] + wc * of[i + 6 + axis];
        const normal = normalized([mix(normals, 0), mix(normals, 1), mix(normals, 2)]);
        const here = material(mix(positions, 0), mix(positions, 1), mix(positions, 2), normal[2]);
        this.paint(pixel, depth, here, lit ? normal : null);
      }
    }
  }

  drawSphere(centre: Vector, radius: number, colour: Colour): void {
    const { right, up, toEye, pixelsPerMillimetre } = this.camera;
    const [cx, cy, cDepth] = this.project(centre);
    const r = radius * pixelsPerMillimetre;
    const top = Math.max(0, Math.floor(cy - r));
    const bottom = Math.min(this.height - 1, Math.ceil(cy + r));
    const left = Math.max(0, Math.floor(cx - r));
    const rightEnd = Math.min(this.width - 1, Math.ceil(cx + r));
    for (let row = top; row <= bottom; row++) {
      for (let column = left; column <= rightEnd; column++) {
        const u = (column + 0.5 - cx) / r;
        const v = (cy - row - 0.5) / r;
        const rest = 1 - u * u - v * v;
        if (rest <= 0) continue;
        const w = Math.sqrt(rest);
        const depth = cDepth - radius * w;
        const pixel = row * this.width + column;
        if (depth >= this.depth[pixel]) continue;
        this.paint(pixel, depth, colour, combine(right, up, toEye, [u, v, w]));
      }
    }
  }

  private paint(pixel: number, depth: number, colour: Colour, normal: Vector | null): void {
    this.depth[pixel] = depth;
    const [diffuse, gloss] = normal === null ? [1, 0] : this.light(normal);
    for (let channel = 0; channel < 3; channel++) {
      this.colour[3 * pixel + channel] = colour[channel] * diffuse + gloss;
    }
  }

  /** A key light over the left shoulder, sky from above, a little light back from the plate. */
  private light(normal: Vector): [diffuse: number, gloss: number] {
    const side = dot(normal, this.camera.toEye) < 0 ? -1 : 1;
    const lambert = Math.max(0, side * dot(normal, this.keyLight));
    const sky = 0.5 + 0.5 * side * normal[2];
    const gloss = Math.max(0, side * dot(normal, this.halfway)) ** 40;
    return [0.24 + 0.2 * sky + 0.66 * lambert, 0.06 * gloss];
  }

  /**
   * Darkens pixels whose surroundings stand in front of them, so that creases and contacts read.
   * `radius` in millimetres. Samples lie on a fixed spiral that turns from pixel to pixel.
   */
  occlude(radius: number): void {
    const spirals = turnedSpirals(radius * this.camera.pixelsPerMillimetre);
    const distances = spiralDistances(radius);
    const shade = new Float32Array(this.depth.length).fill(1);
    for (let row = 0; row < this.height; row++) {
      for (let column = 0; column < this.width; column++) {
        const pixel = row * this.width + column;
        const own = this.depth[pixel];
        if (own === Infinity) continue;
        const spiral = spirals[(column * 7 + row * 13) % spiralTurns];
        let hidden = 0;
        for (let k = 0; k < spiralSamples; k++) {
          const x = column + spiral[2 * k];
          const y = row + spiral[2 * k + 1];
          if (x < 0 || y < 0 || x >= this.width || y >= this.height) continue;
          const front = own - this.depth[y * this.width + x];
          const slope = front / distances[k];
          if (slope > 0.35 && front < 4 * radius) hidden += Math.min(1, slope - 0.35);
        }
        shade[pixel] = 1 - Math.min(0.55, (0.9 * hidden) / spiralSamples);
      }
    }
    for (let i = 0; i < this.colour.length; i++) this.colour[i] *= shade[Math.floor(i / 3)];
  }

  /** Eight-bit sRGB with alpha; transparent where nothing was drawn. */
  toRgba(): Buffer {
    const rgba = Buffer.alloc(4 * this.depth.length);
    for (let pixel = 0; pixel < this.depth.length; pixel++) {
      if (this.depth[pixel] === Infinity) continue;
      for (let channel = 0; channel < 3; channel++) {
        rgba[4 * pixel + channel] = srgbByte(this.colour[3 * pixel + channel]);
      }
      rgba[4 * pixel + 3] = 255;
    }
    return rgba;
  }
}

const spiralSamples = 24;
const spiralTurns = 16;

/** How far from the middle the places of a spiral lie that reaches to `reach`. */
function spiralDistances(reach: number): number[] {
  return Array.from(
    { length: spiralSamples },
    (_, k) => reach * Math.sqrt((k + 0.5) / spiralSamples),
  );
}

/** The same places as x, y, x, y ... in whole pixels, for each turn of the spiral. */
function turnedSpirals(reach: number): Int32Array[] {
  return Array.from({ length: spiralTurns }, (_, turn) =>
    Int32Array.from(
      spiralDistances(reach).flatMap((distance, k) => {
        const angle = (turn * 2 * Math.PI) / spiralTurns + k * 2.399963;
        return [Math.round(distance * Math.cos(angle)), Math.round(distance * Math.sin(angle))];
      }),
    ),
  );
}

const srgbSteps = 16383;
const srgbTable = Uint8Array.from({ length: srgbSteps + 1 }, (_, i) => {
  const linear = i / srgbSteps;
  const curved = linear <= 0.0031308 ? 12.92 * linear : 1.055 * linear ** (1 / 2.4) - 0.055;
  return Math.round(255 * curved);
});

function srgbByte(linear: number): number {
  return srgbTable[Math.round(srgbSteps * Math.min(1, Math.max(0, linear)))];
}

/** A colour as it is written in a style sheet, "#rrggbb", in linear light. */
export function colourOf(hex: string): Colour {
  const channel = (from: number): number => {
    const value = Number.parseInt(hex.slice(from, from + 2), 16) / 255;
    return value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
  };
  return [channel(1), channel(3), channel(5)];
}
