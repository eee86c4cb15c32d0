import { createRequire } from 'node:module';

/** Three corners a triangle of a rabbit of a few millimetres, its y axis up. */
export function rabbit() {
  const { cells, positions } = createRequire(import.meta.url)('bunny');
  return cells.map((cell) => cell.map((vertex) => positions[vertex]));
}
