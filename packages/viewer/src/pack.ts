import { deflated, joined } from './compression.js';
import type { IslandRecord, LayerColumns, PackedPart, PartDocument } from './document.js';
import { encodeMesh } from './mesh_codec.js';
import { gridMesh } from './mesh_grid.js';
import { regionsOf } from './resting.js';
import { encodeSlice, type LabelledRuns } from './slice_codec.js';

/** What there is to know of an analysed part. */
export interface PartSource {
  part: PartDocument;
  /** Nine numbers a triangle, mm, in the coordinates of the model. */
  positions: Float32Array;
  /** mm that these may lie beside the layers, of which they were made for want of a mesh. */
  offLayers?: number;
  /** So many layers from `first` on, in pixels of the crop; asked for in ascending order. */
  runs(first: number, count: number): Promise<readonly LabelledRuns[]>;
  /** mm2 of each layer, where it is known. */
  strength?: { owed: readonly number[]; given: readonly number[] };
  /** z of what a straight pillar under each point would stand on, mm. */
  feet?: Iterable<number>;
}

export interface PackOptions {
  /** Told the share that is done, from 0 to 1. */
  progress?(share: number): void;
  signal?: { throwIfAborted(): void };
  /**
   * About so many bytes of slices are kept, 40 million unless set: of a part with more, layers without
   * points and islands are left out.
   */
  sliceBytes?: number;
}

const defaultSliceBytes = 40e6;

const layersAtOnce = 16;
const sampleLayers = 24;

/**
 * Packs a part for the viewer. The same part gives the same bytes. Throws the signal's reason, and an
 * Error when layers are missing.
 */
export async function packPart(source: PartSource, options: PackOptions = {}): Promise<PackedPart> {
  const { part, positions, offLayers, strength, feet } = source;
  const { mesh, tolerance } = await gridMesh(positions, part.model);
  const { bytes: meshBytes, vertices } = encodeMesh(mesh);
  const meshCode = deflated(meshBytes);

  const { columns, islands, layers, codes } = await packLayers(source, options);
  if (strength !== undefined) {
    columns.owed = strength.owed.map(finite);
    columns.given = strength.given.map(finite);
  }
  return {
    document: {
      viewerVersion: 1,
      part,
      layers: columns,
      islands,
      ...(feet && { feet: Array.from(feet, rounded) }),
      mesh: {
        offset: 0,
        length: meshCode.length,
        vertices,
        triangles: mesh.triangles.length / 3,
        sourceTriangles: positions.length / 9,
        tolerance: tolerance + (offLayers ?? 0),
        ...(offLayers !== undefined && { isOfLayers: true }),
      },
      slices: { layers, lengths: codes.map(({ length }) => length), offset: meshCode.length },
    },
    binary: joined([meshCode, ...codes]),
  };
}

async function packLayers(
  source: PartSource,
  { progress, signal, sliceBytes = defaultSliceBytes }: PackOptions,
): Promise<{
  columns: LayerColumns;
  islands: IslandRecord[];
  layers: number[];
  codes: Uint8Array[];
}> {
  const { print, supports } = source.part;
  const { layers: layerCount, crop } = print;
  const pixelArea = print.pixelSize ** 2;
  const columns: LayerColumns = { regions: [], material: [], overhang: [] };
  const islands: IslandRecord[] = [];
  const layers: number[] = [];
  const codes: Uint8Array[] = [];
  const pointsIn = new Map<string, number>();
  const pointedLayers = new Set<number>();
  for (const { layer, region } of supports) {
    const key = `${layer}:${region}`;
    pointsIn.set(key, (pointsIn.get(key) ?? 0) + 1);
    pointedLayers.add(layer);
  }
  const stride = await strideOf(source, sliceBytes);

  let below: LabelledRuns | null = null;
  for (let first = 0; first < layerCount; first += layersAtOnce) {
    signal?.throwIfAborted();
    progress?.(first / layerCount);
    const count = Math.min(layersAtOnce, layerCount - first);
    const runs = await source.runs(first, count);
    if (runs.length !== count) {
      throw new Error(`runs() gave ${runs.length} of the ${count} layers from ${first} on.`);
    }
    runs.forEach((slice, i) => {
      const layer = first + i;
      const found = regionsOf(slice, below);
      below = slice;
      const alone = layer === 0 ? [] : found.filter(({ resting }) => resting === 0);
      for (const { region, pixels, column, row } of alone) {
        islands.push({
          ...{ layer, region, column: crop.column + column, row: crop.row + row, pixels },
          points: pointsIn.get(`${layer}:${region}`) ?? 0,
        });
      }
      const material = found.reduce((sum, { pixels }) => sum + pixels, 0);
      columns.regions.push(found.length);
      columns.material.push(rounded(material * pixelArea));
      columns.overhang.push(rounded(slice.overhang.blue.length * pixelArea));
      if (layer % stride !== 0 && alone.length === 0 && !pointedLayers.has(layer)) return;
      layers.push(layer);
      codes.push(deflated(encodeSlice(slice)));
    });
  }
  progress?.(1);
  return { columns, islands, layers, codes };
}

/** Every which layer is kept, judged by some of them. */
async function strideOf({ part, runs }: PartSource, sliceBytes: number): Promise<number> {
  const { layers } = part.print;
  if (layers <= sampleLayers) return 1;
  let bytes = 0;
  for (let sample = 0; sample < sampleLayers; sample++) {
    const layer = Math.floor(((sample + 0.5) * layers) / sampleLayers);
    const [slice] = await runs(layer, 1);
    bytes += deflated(encodeSlice(slice)).length;
  }
  return Math.max(1, Math.ceil((bytes / sampleLayers) * (layers / sliceBytes)));
}

/** Sums of an analysis with extreme parameters may be no numbers. */
const finite = (value: number): number => (Number.isFinite(value) ? rounded(value) : 0);

/** To a thousandth: beyond it are only the digits of binary fractions. */
function rounded(value: number): number {
  return Math.round(1000 * value) / 1000;
}
