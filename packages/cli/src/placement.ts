import { turnedMesh } from 'stiltforge/orientation';
import type { MeshFile, Triangles } from 'stiltforge/slicing';
import { ExitCode, UserError } from './errors.js';
import { boundingBox, scaled, standingOnOrigin, turnedFromYUp } from './mesh/triangles.js';
import type { PartOptions } from './part_options.js';
import { units } from './units.js';

/** The mesh of a file as the options place it: unit, up, turn, size, and then its place. */
export function placedMesh(file: MeshFile, name: string, options: PartOptions): Triangles {
  const { up, rotate, height, scale, center } = options;
  let mesh = inMillimetres(file, name, options.units);
  if (up === 'y') mesh = turnedFromYUp(mesh);
  if (rotate !== undefined) mesh = turned(mesh, rotate);
  if (height !== undefined) {
    const { min, max } = boundingBox(mesh);
    mesh = resized(mesh, height / (max[2] - min[2]), `--height ${height}`);
  }
  if (scale !== undefined) mesh = resized(mesh, scale, `--scale ${scale}`);
  return center ? standingOnOrigin(mesh) : mesh;
}

/** Those of the options that place the part; undefined when they leave it as the file has it. */
export function placementOf(options: PartOptions): PartOptions | undefined {
  const { units, up, rotate, height, scale, center } = options;
  const given = [units, rotate, height, scale, center].some((value) => value !== undefined);
  return given || up !== 'z' ? { units, up, rotate, height, scale, center } : undefined;
}

function inMillimetres(file: MeshFile, name: string, unit: PartOptions['units']): Triangles {
  if (unit === undefined) return file.positions;
  if (file.format === '3MF') {
    throw new UserError(
      ExitCode.usage,
      `--units ${unit}: ${name} is a 3MF, which says its unit itself. Leave the option out, or ` +
        'change the size with --scale.',
    );
  }
  return resized(file.positions, units[unit], `--units ${unit}`);
}

function turned(mesh: Triangles, degrees: [number, number, number]): Triangles {
  const result = turnedMesh(mesh, degrees);
  if (hasSize(result)) return result;
  throw new UserError(ExitCode.usage, `--rotate ${degrees}: the part is too large to be turned.`);
}

function resized(mesh: Triangles, factor: number, option: string): Triangles {
  const result = scaled(mesh, factor);
  if (hasSize(result)) return result;
  throw new UserError(
    ExitCode.usage,
    `${option}: it makes the part too ${factor > 1 ? 'large' : 'small'} to be sliced.`,
  );
}

function hasSize(mesh: Triangles): boolean {
  const { min, max } = boundingBox(mesh);
  const size = max.map((value, axis) => value - min[axis]);
  return size.every((length) => Number.isFinite(length) && length > 0);
}
