import type { PrintSettings, Triangles } from 'stiltforge/slicing';
import { nameOfPath } from '../name_of_path.js';
import type { PartJob } from '../supported_part.js';
import { arranged, type PlatePart, plateMesh } from './arrange.js';

/** A mesh that was read and placed. */
export interface ReadMesh {
  /** Its file. */
  name: string;
  mesh: Triangles;
  /** Sentences about its file. */
  warnings: readonly string[];
}

export interface PlateOptions {
  /** One mesh goes on a plate, too, where it would else stay where it is. */
  plate?: boolean;
  /** Of each mesh, 1 or more. */
  copies: number;
  /** mm between parts. */
  gap: number;
}

/**
 * A mesh by itself as it is placed, or meshes and their copies side by side on the plate. Throws a
 * UserError where they find no room.
 */
export function partOfMeshes(
  meshes: readonly ReadMesh[],
  { plate: isAsked = false, copies, gap }: PlateOptions,
  print: PrintSettings,
): Pick<PartJob, 'name' | 'mesh' | 'meshWarnings' | 'plate'> {
  const [first] = meshes;
  if (meshes.length === 1 && copies === 1 && !isAsked) {
    return { name: first.name, mesh: first.mesh, meshWarnings: first.warnings };
  }
  const parts = meshes.flatMap(({ name, mesh }) =>
    Array.from({ length: copies }, (): PlatePart => ({ name: nameOfPath(name), mesh })),
  );
  const plate = arranged(parts, gap, print);
  const names = new Set(parts.map(({ name }) => name));
  return {
    name: meshes.length === 1 ? first.name : [...names].join(', '),
    mesh: plateMesh(parts, plate),
    meshWarnings: meshes.flatMap(({ name, warnings }) =>
      warnings.map((sentence) => `${name}: ${sentence}`),
    ),
    plate,
  };
}
