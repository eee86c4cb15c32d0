import type { OrientResult } from 'stiltforge/orientation';
import { defaultWeights } from 'stiltforge/orientation';
import type { MeshFile, Triangles } from 'stiltforge/slicing';
import {
  findOrientations,
  type Host,
  isLackOfMemory,
  loadMesh,
  orientationColumns,
  orientationRows,
  orientationsJson,
  orientedStl,
  outOfMemory,
  type PartOptions,
  placedMesh,
  preferredWeight,
  roundedTurn,
} from 'stiltforge-cli/part';
import type { Teller } from './analysed_part.js';
import type {
  OrientationFormat,
  OrientationWish,
  PartFile,
  PartSettings,
  Ranking,
} from './protocol.js';

export interface OrientedPart {
  ranking: Ranking;
  fileOf(format: OrientationFormat): Blob;
}

/**
 * The search of `stiltforge orient`, of the part as its file has it: in the size that it is set to, but not
 * turned. Throws as the steps of it do.
 */
export async function orientedPart(
  { name, bytes }: PartFile,
  { placement, print, support }: PartSettings,
  { prefer, keepClean }: OrientationWish,
  host: Host,
  tell: Teller,
): Promise<OrientedPart> {
  const { generator, memory } = host;
  try {
    tell({ step: 'reading', share: 0, total: 0 });
    const file = await loadMesh(bytes, undefined, name);
    const { mesh, scale } = unturned(file, name, placement);
    const weights = prefer && { ...defaultWeights, [prefer]: preferredWeight(prefer) };
    const result = await findOrientations(
      { ...{ name, mesh, print, support, memory, weights, keepClean } },
      { progress: (done, total) => tell({ step: 'orientations', share: done / total, total }) },
    );
    return {
      ranking: rankingOf(result, keepClean !== undefined, scale),
      fileOf: (format) =>
        format === 'orientations'
          ? new Blob([orientationsJson(name, result, generator)], { type: 'application/json' })
          : new Blob([orientedStl({ name, mesh, generator }, result)], { type: 'model/stl' }),
    };
  } catch (error) {
    throw isLackOfMemory(error) ? outOfMemory(name, error) : error;
  }
}

/** The size of a part that is turned must not follow its height: that is told as a scale then. */
function unturned(
  file: MeshFile,
  name: string,
  placement: PartOptions,
): { mesh: Triangles; scale?: number } {
  const { rotate, height } = placement;
  const asItIs = { ...placement, rotate: undefined };
  if (height === undefined) return { mesh: placedMesh(file, name, asItIs) };
  const before = placedMesh(file, name, { ...placement, height: undefined });
  const scale = height / heightOf(before);
  const inSize = rotate === undefined ? placement : { ...asItIs, height: undefined, scale };
  return { mesh: placedMesh(file, name, inSize), scale };
}

function heightOf(mesh: Triangles): number {
  let lowest = Infinity;
  let highest = -Infinity;
  for (let i = 2; i < mesh.length; i += 3) {
    lowest = Math.min(lowest, mesh[i]);
    highest = Math.max(highest, mesh[i]);
  }
  return highest - lowest;
}

function rankingOf(result: OrientResult, hasCleanSide: boolean, scale?: number): Ranking {
  return {
    ...{ tried: result.tried, scale },
    columns: orientationColumns(hasCleanSide).map(({ title }) => title),
    rows: orientationRows(result, hasCleanSide).map(({ rank, origin, orientation, figures }) => ({
      ...{ rank, origin, figures },
      turn: roundedTurn(orientation),
    })),
  };
}
