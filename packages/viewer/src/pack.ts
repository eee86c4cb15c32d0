import { deflated, joined } from './compression.js';
import type {
  IslandRecord,
  LayerColumns,
  PackedPart,
  PartDocument,
  ScaffoldIndex,
  Section,
} from './document.js';
import { encodeMesh } from './mesh_codec.js';
import { type Box, gridMesh } from './mesh_grid.js';
import { regionsOf } from './resting.js';
import { encodeRings, type RingSpan } from './scaffold_codec.js';
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
  /** The supports as they are built, where they are. */
  scaffold?: ScaffoldSource;
}

/** What buildScaffold() of stiltforge gives. */
export interface ScaffoldSource {
  /** Four numbers a ring, mm: x, y and z of its middle, and its radius. */
  rings: Float64Array;
  supports: readonly RingSpan[];
  braces: readonly RingSpan[];
  /** Numbers of points. */
  leftOut: readonly { point: number; reason: 'tooLow' | 'noWay' }[];
  /** Nine numbers a triangle, mm; the last ones are those of a raft. */
  positions: Float32Array;
  raftTriangles: number;
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
  const { part, positions, offLayers, strength, scaffold } = source;
  const { mesh, tolerance } = await gridMesh(positions, part.model);
  const { bytes: meshBytes, vertices } = encodeMesh(mesh);
  const binary = new Sections();
  const meshSection = binary.add(meshBytes);
  const built = scaffold && (await packScaffold(scaffold, binary));

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
      mesh: {
        ...meshSection,
        vertices,
        triangles: mesh.triangles.length / 3,
        sourceTriangles: positions.length / 9,
        tolerance: tolerance + (offLayers ?? 0),
        ...(offLayers !== undefined && { isOfLayers: true }),
      },
      ...(built && { scaffold: built }),
      slices: { layers, lengths: codes.map(({ length }) => length), offset: binary.length },
    },
    binary: joined([...binary.codes, ...codes]),
  };
}

/** Deflated bytes, one behind the other. */
class Sections {
  readonly codes: Uint8Array[] = [];
  length = 0;

  add(bytes: Uint8Array): Section {
    const code = deflated(bytes);
    const section = { offset: this.length, length: code.length };
    this.codes.push(code);
    this.length += code.length;
    return section;
  }
}

async function packScaffold(
  { rings, supports, braces, leftOut, positions, raftTriangles }: ScaffoldSource,
  binary: Sections,
): Promise<ScaffoldIndex> {
  const index: ScaffoldIndex = {
    supports: supports.length,
    braces: braces.length,
    withoutWay: leftOut.filter(({ reason }) => reason === 'noWay').map(({ point }) => point),
    rings: binary.add(encodeRings(rings, [...supports, ...braces])),
  };
  if (raftTriangles === 0) return index;
  const raft = positions.subarray(positions.length - 9 * raftTriangles);
  const box = boxOf(raft);
  const { mesh } = await gridMesh(raft, box);
  const { bytes, vertices } = encodeMesh(mesh);
  const triangles = mesh.triangles.length / 3;
  return { ...index, raft: { ...binary.add(bytes), vertices, triangles, ...box } };
}

function boxOf(positions: Float32Array): Box & { min: number[]; max: number[] } {
  const min = [Infinity, Infinity, Infinity];
  const max = [-Infinity, -Infinity, -Infinity];
  positions.forEach((value, i) => {
    min[i % 3] = Math.min(min[i % 3], value);
    max[i % 3] = Math.max(max[i % 3], value);
  });
  return { min, max };
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
