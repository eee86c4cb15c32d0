import type { Point, PrintSettings, Triangles } from 'stiltforge/slicing';
import { ExitCode, UserError } from '../errors.js';
import { boundingBox, triangleCount } from '../mesh/triangles.js';
import { counted } from '../wording.js';
import { packed } from './packing.js';

/** A mesh as it is placed, and what its file is called. */
export interface PlatePart {
  name: string;
  mesh: Triangles;
}

/** Where a mesh stands on a plate. */
export interface PlateMove {
  file: string;
  /** mm that the mesh of the file, as it was placed, was moved by. */
  move: readonly [x: number, y: number, z: number];
  /** mm, the corners of its box on the plate. */
  min: Point;
  max: Point;
}

/** mm between parts unless an option says otherwise: supports need room, too. */
export const usualGap = 5;

/** The limit of a mesh file. */
const mostTriangles = 100e6;

/** Pixels left free at the edge of the screen. */
const edge = 1;

const mostNamesTold = 3;

/**
 * Places parts side by side on the screen, each standing on the plate, with at least `gap` mm between
 * their boxes; x = y = 0 is the middle of the plate. All stand the same way to the pixels, so that equal
 * parts have equal slices. Throws a UserError that names those that find no room.
 */
export function arranged(
  parts: readonly PlatePart[],
  gap: number,
  { pixelSize, screenWidth, screenHeight }: PrintSettings,
): PlateMove[] {
  const boxes = parts.map(({ mesh }) => boundingBox(mesh));
  const pixels = (length: number): number => Math.ceil(length / pixelSize);
  const between = pixels(gap);
  const sizes = boxes.map(({ min, max }) => ({
    width: pixels(max[0] - min[0]) + between,
    depth: pixels(max[1] - min[1]) + between,
  }));
  const room = {
    width: screenWidth - 2 * edge + between,
    depth: screenHeight - 2 * edge + between,
  };
  const corners = packed(sizes, room);
  const placed = corners.flatMap((corner) => corner ?? []);
  if (placed.length < parts.length) {
    const left = parts.filter((_, number) => corners[number] === undefined);
    throw noRoom(parts.length, left, gap, [screenWidth * pixelSize, screenHeight * pixelSize]);
  }
  const taken = (axis: 'x' | 'y', side: 'width' | 'depth'): number =>
    Math.max(...placed.map((corner, number) => corner[axis] + sizes[number][side])) - between;
  const middle = { x: taken('x', 'width') / 2, y: taken('y', 'depth') / 2 };
  return placed.map((corner, number) => {
    const { min, max } = boxes[number];
    const move = [
      (corner.x - middle.x) * pixelSize - min[0],
      (corner.y - middle.y) * pixelSize - min[1],
      -min[2],
    ] as const;
    const moved = (corner: Point): Point =>
      corner.map((value, axis) => Math.fround(value + move[axis])) as Point;
    return { file: parts[number].name, move, min: moved(min), max: moved(max) };
  });
}

/** One mesh of parts in their places. */
export function plateMesh(
  parts: readonly PlatePart[],
  moves: readonly Pick<PlateMove, 'move'>[],
): Triangles {
  const total = parts.reduce((sum, { mesh }) => sum + triangleCount(mesh), 0);
  if (total > mostTriangles) {
    throw new UserError(
      ExitCode.mesh,
      `The plate would have ${counted(total, 'triangle')}, of which at most ` +
        `${mostTriangles.toLocaleString('en-US')} are taken. Give fewer parts or --copies.`,
    );
  }
  const plate = new Float32Array(9 * total);
  let at = 0;
  parts.forEach(({ mesh }, number) => {
    const { move } = moves[number];
    for (let i = 0; i < mesh.length; i++) plate[at + i] = mesh[i] + move[i % 3];
    at += mesh.length;
  });
  return plate;
}

function noRoom(
  count: number,
  left: readonly PlatePart[],
  gap: number,
  screen: readonly number[],
): UserError {
  const text = (lengths: readonly number[]): string =>
    `${lengths.map((length) => Number(length.toFixed(1))).join(' x ')} mm`;
  const counts = new Map<string, number>();
  for (const { name, mesh } of left) {
    const { min, max } = boundingBox(mesh);
    const what = `${name} (${text([max[0] - min[0], max[1] - min[1]])})`;
    counts.set(what, (counts.get(what) ?? 0) + 1);
  }
  const named = [...counts]
    .slice(0, mostNamesTold)
    .map(([what, times]) => (times > 1 ? `${times} times ${what}` : what));
  const more = counts.size > named.length ? ` and ${counts.size - named.length} others` : '';
  return new UserError(
    ExitCode.mesh,
    `${left.length} of ${counted(count, 'part')} find no room on the screen of ${text(screen)} with ` +
      `${gap} mm between parts: ${named.join(', ')}${more}. Give fewer, less --gap, or a larger screen.`,
  );
}
