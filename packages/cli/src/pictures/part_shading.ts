import { type Camera, combine, normalized, type Vector } from './camera.js';
import { byteOf, type Colour, colourOf } from './colour.js';
import { background } from './palette.js';
import type { PartScene } from './part_scene.js';
import type { Surface } from './pillars.js';
import { darknessAt } from './plate_shadow.js';
import type { Ball } from './point_balls.js';
import { fine, nothing, type Visibility } from './visibility.js';

const backgroundColour = colourOf(background);
const partColour = colourOf('#b4c2d1');
const overhangColour = colourOf('#e8bd9a');
const pillarColour = colourOf('#e0a878');
const plateColour = colourOf('#e7ecf0');
const gridColour = colourOf('#d3dbe2');

/** A gloss of less than a step of an eight-bit picture. */
const dullBelow = 0.88;

const gridSpacing = 10; // mm
const gridLineWidth = 0.24; // mm

/** Triangles as they were drawn: surfaces `first` up to `end`. */
export interface DrawnSurface extends Surface {
  corners: Float32Array;
  first: number;
  end: number;
}

/** What a view shows: surfaces are numbered part first, then pillars, balls and the plate. */
export interface Shown {
  scene: PartScene;
  camera: Camera;
  part: DrawnSurface;
  pillars: DrawnSurface;
  balls: readonly Ball[];
  firstBall: number;
  plate: number;
}

/** Colours what is seen: once for each surface in a pixel. */
export class Shading {
  private red = 0;
  private green = 0;
  private blue = 0;
  private readonly keyLight: Vector;
  private readonly halfway: Vector;

  constructor(private readonly shown: Shown) {
    const { right, up, toEye } = shown.camera;
    this.keyLight = normalized(combine(right, up, toEye, [-0.55, 0.6, 0.75]));
    this.halfway = normalized(combine(this.keyLight, toEye, toEye, [1, 1, 0]));
  }

  /** `light`: what each pixel keeps of it; three bytes a pixel come out, row by row. */
  paint(samples: Visibility, light: Float32Array, width: number, height: number): Buffer {
    const rgb = Buffer.alloc(3 * width * height);
    const { surface } = samples;
    const share = 1 / (fine * fine);
    for (let row = 0, pixel = 0; row < height; row++) {
      for (let column = 0; column < width; column++, pixel++) {
        const upper = row * fine * samples.width + column * fine;
        const lower = upper + samples.width;
        const a = surface[upper];
        const b = surface[upper + 1];
        const c = surface[lower];
        const d = surface[lower + 1];
        this.red = this.green = this.blue = 0;
        const x = column * fine + 1;
        const y = row * fine + 1;
        if (a === b && a === c && a === d) {
          this.add(a, x, y, 1, light[pixel]);
        } else {
          this.add(a, x - 0.5, y - 0.5, share, light[pixel]);
          this.add(b, x + 0.5, y - 0.5, share, light[pixel]);
          this.add(c, x - 0.5, y + 0.5, share, light[pixel]);
          this.add(d, x + 0.5, y + 0.5, share, light[pixel]);
        }
        rgb[3 * pixel] = byteOf(this.red);
        rgb[3 * pixel + 1] = byteOf(this.green);
        rgb[3 * pixel + 2] = byteOf(this.blue);
      }
    }
    return rgb;
  }

  /** Adds the colour of a surface at a place of the picture, in samples. */
  private add(surface: number, x: number, y: number, share: number, light: number): void {
    const { part, pillars, balls, firstBall, plate } = this.shown;
    if (surface === nothing) {
      this.mix(backgroundColour, share, 0);
    } else if (surface < part.end) {
      this.addTriangle(part, surface, x, y, share * light);
    } else if (surface < pillars.end) {
      this.addTriangle(pillars, surface, x, y, share * light);
    } else if (surface < plate) {
      this.addBall(balls[surface - firstBall], x, y, share);
    } else {
      this.addPlate(x, y, share);
    }
  }

  private addTriangle(
    drawn: DrawnSurface,
    surface: number,
    x: number,
    y: number,
    share: number,
  ): void {
    const { scene, part } = this.shown;
    const { corners, positions, normals, first } = drawn;
    const i = 9 * (surface - first);
    const ax = corners[i] - x;
    const ay = corners[i + 1] - y;
    const bx = corners[i + 3] - x;
    const by = corners[i + 4] - y;
    const cx = corners[i + 6] - x;
    const cy = corners[i + 7] - y;
    const area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
    const wa = Math.min(1, Math.max(0, (bx * cy - by * cx) / area));
    const wb = Math.min(1 - wa, Math.max(0, (cx * ay - cy * ax) / area));
    const wc = 1 - wa - wb;
    const nx = wa * normals[i] + wb * normals[i + 3] + wc * normals[i + 6];
    const ny = wa * normals[i + 1] + wb * normals[i + 4] + wc * normals[i + 7];
    const nz = wa * normals[i + 2] + wb * normals[i + 5] + wc * normals[i + 8];
    const length = Math.sqrt(nx * nx + ny * ny + nz * nz) || 1;
    const z = wa * positions[i + 2] + wb * positions[i + 5] + wc * positions[i + 8];
    const hangsOver = -nz / length > scene.tintFrom && z > scene.plateZ + 0.1;
    const colour = drawn !== part ? pillarColour : hangsOver ? overhangColour : partColour;
    // Seen from behind where the mesh is open or inside out.
    const side = (area < 0 ? 1 : -1) / length;
    this.addLit(colour, side * nx, side * ny, side * nz, share);
  }

  private addBall(
    { colour, column, row, radius }: Ball,
    x: number,
    y: number,
    share: number,
  ): void {
    const u = (x - column) / radius;
    const v = (row - y) / radius;
    const w = Math.sqrt(Math.max(0, 1 - u * u - v * v));
    const { right, up, toEye } = this.shown.camera;
    this.addLit(
      colour,
      u * right[0] + v * up[0] + w * toEye[0],
      u * right[1] + v * up[1] + w * toEye[1],
      u * right[2] + v * up[2] + w * toEye[2],
      share,
    );
  }

  private addPlate(x: number, y: number, share: number): void {
    const { right, up, pixelsPerMillimetre, originX, originY } = this.shown.camera;
    const { plateZ, shadow } = this.shown.scene;
    // On the plate "right" and the horizontal part of "up" are at right angles.
    const slant = Math.sqrt(up[0] * up[0] + up[1] * up[1]);
    const across = (x - originX) / pixelsPerMillimetre;
    const along = ((originY - y) / pixelsPerMillimetre - plateZ * up[2]) / slant;
    const px = across * right[0] + (along * up[0]) / slant;
    const py = across * right[1] + (along * up[1]) / slant;
    const wide = fine / pixelsPerMillimetre;
    const deep = wide / slant;
    const onX = gridShare(px, wide * Math.abs(right[0]) + (deep * Math.abs(up[0])) / slant);
    const onY = gridShare(py, wide * Math.abs(right[1]) + (deep * Math.abs(up[1])) / slant);
    const grid = onX + onY - onX * onY;
    const lit = share * (1 - 0.55 * darknessAt(shadow, px, py));
    this.mix(gridColour, lit * grid, 0);
    this.mix(plateColour, lit * (1 - grid), 0);
  }

  /** A key light over the left shoulder, sky from above, a little light back from the plate. */
  private addLit(colour: Colour, nx: number, ny: number, nz: number, share: number): void {
    const { keyLight, halfway } = this;
    const lambert = nx * keyLight[0] + ny * keyLight[1] + nz * keyLight[2];
    const sky = 0.5 + 0.5 * nz;
    const shine = nx * halfway[0] + ny * halfway[1] + nz * halfway[2];
    const diffuse = 0.24 + 0.2 * sky + (lambert > 0 ? 0.66 * lambert : 0);
    this.mix(colour, share * diffuse, shine > dullBelow ? share * 0.06 * shine ** 40 : 0);
  }

  private mix(colour: Colour, share: number, gloss: number): void {
    this.red += share * colour[0] + gloss;
    this.green += share * colour[1] + gloss;
    this.blue += share * colour[2] + gloss;
  }
}

/** The share of the stretch of length `reach` round a coordinate that a line of the plate's grid covers. */
function gridShare(coordinate: number, reach: number): number {
  const apart = Math.abs(coordinate - gridSpacing * Math.round(coordinate / gridSpacing));
  const begin = Math.max(apart - reach / 2, -gridLineWidth / 2);
  const end = Math.min(apart + reach / 2, gridLineWidth / 2);
  return end > begin ? (end - begin) / reach : 0;
}
