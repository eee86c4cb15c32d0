import { inflated } from '../src/compression.js';
import type {
  DroppedRecord,
  IslandRecord,
  MeshSection,
  PackedPart,
  PartDocument,
  PixelGrid,
  PixelPlace,
  PointRecord,
  ScaffoldIndex,
  Section,
  ViewerDocument,
} from '../src/document.js';
import { decodeMesh, type GridMesh } from '../src/mesh_codec.js';
import { decodeRings, type RingPairs } from '../src/scaffold_codec.js';
import { decodeSlice, type ViewerSlice } from '../src/slice_codec.js';
import { markOf } from './marks.js';

/** Slices that stay decoded: those around the slider are asked for again and again. */
const mostDecoded = 48;

/** A part as the viewer asks for it; where its bytes come from is not the viewer's concern. */
export class ViewedPart {
  readonly document: ViewerDocument;
  /** Indices of the points of each layer. */
  readonly pointsOfLayer: readonly (readonly number[])[];
  /** Regions of each layer that rest on nothing: their numbers, and what is known of them. */
  readonly islandsOfLayer: readonly ReadonlySet<number>[];
  readonly islandRecords: ReadonlyMap<number, readonly IslandRecord[]>;
  /** Points of each layer that were left out. */
  readonly droppedOfLayer: ReadonlyMap<number, readonly DroppedRecord[]>;
  /** Corners of the model's box, mm. */
  readonly min: readonly number[];
  readonly max: readonly number[];
  /** mm from the plate to the part. */
  readonly lift: number;
  private readonly grid: PixelGrid;
  private readonly binary: Uint8Array;
  /** Place of each kept layer in the index. */
  private readonly kept: readonly number[];
  private readonly offsets: readonly number[];
  private readonly decoded = new Map<number, Promise<ViewerSlice>>();

  constructor({ document, binary }: PackedPart) {
    this.document = document;
    this.binary = binary;
    const { part, islands, slices } = document;
    this.min = part.model.min;
    this.max = part.model.max;
    this.lift = part.print.lift ?? 0;
    this.grid = part.print.grid ?? middleOfScreen(part);
    const layers = { length: part.print.layers };
    const points: number[][] = Array.from(layers, () => []);
    for (const [index, { layer }] of part.supports.entries()) points[layer]?.push(index);
    this.pointsOfLayer = points;
    const regions: Set<number>[] = Array.from(layers, () => new Set());
    for (const { layer, region } of islands) regions[layer].add(region);
    this.islandsOfLayer = regions;
    this.islandRecords = byLayer(islands);
    this.droppedOfLayer = byLayer(part.dropped ?? []);
    this.kept = slices.layers;
    let offset = slices.offset;
    this.offsets = slices.lengths.map((length) => {
      offset += length;
      return offset - length;
    });
  }

  get points(): readonly PointRecord[] {
    return this.document.part.supports;
  }

  /** Whether some are there that the analysis did not place. */
  get hasAddedPoints(): boolean {
    return this.points.some((point) => markOf(point) === 'added');
  }

  get layerCount(): number {
    return this.document.part.print.layers;
  }

  /** mm, of the plate in the coordinates of the model. */
  get plateZ(): number {
    return this.min[2] - this.lift;
  }

  /** mm above the plate: the lower and the upper face of a layer. */
  bottomOf(layer: number): number {
    const { layerHeight, firstLayerHeight = layerHeight } = this.document.part.print;
    return layer * layerHeight + Math.min(layer, 1) * (firstLayerHeight - layerHeight);
  }

  topOf(layer: number): number {
    return this.bottomOf(layer + 1);
  }

  /** mm of the middle of a pixel of the screen, in the coordinates of the model. */
  placeOf(column: number, row: number): [x: number, y: number] {
    const { corner, column: across, row: along } = this.grid;
    const at = (axis: 0 | 1): number =>
      corner[axis] + (column + 0.5) * across[axis] + (row + 0.5) * along[axis];
    return [at(0), at(1)];
  }

  /** The nearest layer at or below this one whose slice is kept. */
  keptLayer(layer: number): number {
    return this.kept[this.keptPlace(layer)];
  }

  /** The slice of keptLayer(layer). Rejects when its bytes are damaged. */
  slice(layer: number): Promise<ViewerSlice> {
    const place = this.keptPlace(layer);
    const known = this.decoded.get(place);
    // The last one used is the last to go.
    this.decoded.delete(place);
    const slice = known ?? this.decode(place);
    this.decoded.set(place, slice);
    for (const oldest of this.decoded.keys()) {
      if (this.decoded.size <= mostDecoded) break;
      this.decoded.delete(oldest);
    }
    return slice;
  }

  mesh(): Promise<GridMesh> {
    return this.meshAt(this.document.mesh);
  }

  /** The surfaces of the supports and their braces, and the raft. Rejects when the bytes are damaged. */
  async scaffold({
    rings,
    supports,
    braces,
    raft,
  }: ScaffoldIndex): Promise<{ pairs: RingPairs; raft?: GridMesh }> {
    return {
      pairs: decodeRings(await this.bytesOf(rings), supports + braces),
      raft: raft && (await this.meshAt(raft)),
    };
  }

  private async meshAt(section: MeshSection): Promise<GridMesh> {
    return decodeMesh(await this.bytesOf(section), section.vertices, section.triangles);
  }

  private bytesOf({ offset, length }: Section): Promise<Uint8Array<ArrayBuffer>> {
    return inflated(this.binary.slice(offset, offset + length));
  }

  private keptPlace(layer: number): number {
    let low = 0;
    let high = this.kept.length - 1;
    while (low < high) {
      const middle = (low + high + 1) >> 1;
      if (this.kept[middle] <= layer) low = middle;
      else high = middle - 1;
    }
    return low;
  }

  private async decode(place: number): Promise<ViewerSlice> {
    const { slices, part } = this.document;
    const section = { offset: this.offsets[place], length: slices.lengths[place] };
    return decodeSlice(await this.bytesOf(section), part.print.crop.height);
  }
}

function middleOfScreen({ model: { min, max }, print }: PartDocument): PixelGrid {
  const { screenWidth, screenHeight, pixelSize } = print;
  return {
    corner: [
      (min[0] + max[0] - screenWidth * pixelSize) / 2,
      (min[1] + max[1] + screenHeight * pixelSize) / 2,
    ],
    column: [pixelSize, 0],
    row: [0, -pixelSize],
  };
}

function byLayer<Record extends PixelPlace>(records: readonly Record[]): Map<number, Record[]> {
  const lists = new Map<number, Record[]>();
  for (const record of records) {
    const list = lists.get(record.layer) ?? [];
    list.push(record);
    lists.set(record.layer, list);
  }
  return lists;
}
