import { readFileSync, statSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import type { Triangles } from 'stiltforge/slicing';
import { ExitCode, reasonOf, UserError } from '../errors.js';
import { loadMesh } from '../mesh/load.js';
import { boundingBox, triangleCount } from '../mesh/triangles.js';
import { type SupportsDocument, schemaVersion } from '../output/documents.js';
import { formatFiles } from '../output/formats.js';
import { placedMesh } from '../placement.js';
import { plateMesh } from '../plate/arrange.js';

/** What supports.json says of a part that was read as a mesh. */
export interface EarlierRun extends SupportsDocument {
  model: SupportsDocument['model'] & Required<Pick<SupportsDocument['model'], 'mesh'>>;
}

/** Throws a UserError when a folder has no supports.json, or none that can be used. */
export function earlierRun(folder: string): EarlierRun {
  const path = join(folder, formatFiles.json);
  let document: Partial<SupportsDocument & { schemaVersion: number }>;
  try {
    document = Object(JSON.parse(readFileSync(path, 'utf8')));
  } catch (error) {
    throw unusable(path, `it can't be read (${reasonOf(error)}). Give the folder of a run`);
  }
  if (document.schemaVersion !== schemaVersion || !isWhole(document)) {
    throw unusable(path, 'another version of stiltforge wrote it. Run stiltforge <mesh> again');
  }
  if (isOfMesh(document)) return document;
  throw unusable(path, 'its part was read as layers. Run stiltforge <file> --inspect layer:region');
}

function isWhole(document: Partial<SupportsDocument>): document is SupportsDocument {
  const { model, print, settings, parameters } = document;
  return [model, print, settings, parameters].every(
    (part) => typeof part === 'object' && part !== null,
  );
}

function isOfMesh(document: SupportsDocument): document is EarlierRun {
  return document.model.mesh !== undefined;
}

/** The mesh of a run, placed as it was, and what it is called; `given` stands in for its file. */
export async function modelOf(
  folder: string,
  { model }: EarlierRun,
  given: string | undefined,
): Promise<{ name: string; mesh: Triangles }> {
  const { plate, placement = { up: 'z' } } = model;
  const files = [...new Set(plate?.map(({ file }) => file) ?? [model.file])];
  if (given !== undefined && files.length > 1) {
    throw new UserError(
      ExitCode.usage,
      `--model ${given}: ${folder} has a plate of ${files.length} meshes. Put them here or beside the ` +
        'folder, and leave the option out.',
    );
  }
  const meshes = new Map<string, Triangles>();
  const names: string[] = [];
  for (const file of files) {
    const name = given ?? modelFile(folder, file);
    meshes.set(file, placedMesh(await loadMesh(name), name, placement));
    names.push(name);
  }
  if (plate === undefined) return { name: names[0], mesh: meshes.get(model.file) as Triangles };
  const parts = plate.map(({ file }) => ({ name: file, mesh: meshes.get(file) as Triangles }));
  return { name: names.join(', '), mesh: plateMesh(parts, plate) };
}

/** The file of that name, here or beside the folder. */
function modelFile(folder: string, file: string): string {
  const name = basename(file);
  const places = [name, join(dirname(folder), name), join(folder, name)];
  const found = places.find((path) => statSync(path, { throwIfNoEntry: false })?.isFile());
  if (found !== undefined) return found;
  throw new UserError(
    ExitCode.usage,
    `${folder}: its model ${name} is neither here nor beside the folder. Name it with --model.`,
  );
}

/** Throws a UserError when the mesh, placed as it was, is not that of the run. */
export function requireSameMesh(path: string, mesh: Triangles, { model }: EarlierRun): void {
  const { min, max } = boundingBox(mesh);
  const isSame = (corner: readonly number[], was: readonly number[]): boolean =>
    corner.every((value, axis) => value === was[axis]);
  const sameBox = isSame(min, model.min) && isSame(max, model.max);
  // The box of the run is without triangles that have no area.
  const same =
    triangleCount(mesh) === model.mesh.triangles && (sameBox || model.mesh.degenerateTriangles > 0);
  if (same) return;
  throw new UserError(
    ExitCode.usage,
    `${path}: this is not the mesh of the run, or it has changed since. Run stiltforge <mesh> again, ` +
      'or name the mesh with --model.',
  );
}

function unusable(path: string, sentence: string): UserError {
  return new UserError(ExitCode.usage, `${path}: ${sentence}.`);
}
