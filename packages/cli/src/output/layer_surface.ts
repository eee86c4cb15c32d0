import {
  bottomOfLayer,
  type LabelledRuns,
  type LayerHeights,
  type Triangles,
} from 'stiltforge/slicing';

type Runs = Pick<LabelledRuns, 'rowStart' | 'begin' | 'end'>;

/** Layers as runs of pixels, and where they are. */
export interface SurfaceLayers {
  /** Pixels of a layer. */
  width: number;
  height: number;
  /** Of them, those with material; without it the last ones are empty. */
  layers: number;
  heights: LayerHeights;
  /** mm, of a pixel. */
  pixelWidth: number;
  pixelHeight: number;
  /** mm: where a corner of pixels lies. */
  placeOf(column: number, row: number): readonly [x: number, y: number];
  runs(first: number, count: number): Promise<readonly Runs[]>;
}

export interface LayerSurface {
  positions: Triangles;
  /** mm that the surface may lie beside the layers. */
  tolerance: number;
}

/** Cells along the longest side: more show no more in a picture. */
const mostCells = 180;

/** More triangles than these are not worth their time: coarser cells will do. */
const mostTriangles = 2e6;

/** Of a cell, from which on it counts as material: less than half, so that thin supports stay. */
const level = 0.35;

const layersAtOnce = 16;

/**
 * A closed surface around the material of layers: surface nets (Gibson, 1998) of the share of material in
 * cells of some pixels and layers. Takes memory for two layers of cells and the triangles. Throws the
 * signal's reason.
 */
export async function layerSurface(
  source: SurfaceLayers,
  signal?: AbortSignal,
): Promise<LayerSurface> {
  const { width, height, layers, heights, pixelWidth, pixelHeight } = source;
  const { layerHeight } = heights;
  const longest = Math.max(width * pixelWidth, height * pixelHeight, layers * layerHeight);
  for (let cell = longest / mostCells; ; cell *= 1.6) {
    const size: CellSize = {
      columns: Math.max(1, Math.round(cell / pixelWidth)),
      rows: Math.max(1, Math.round(cell / pixelHeight)),
      layers: Math.max(1, Math.round(cell / layerHeight)),
    };
    const positions = await surfaceOf(source, size, signal);
    if (positions === undefined) continue;
    const tolerance = Math.max(
      size.columns * pixelWidth,
      size.rows * pixelHeight,
      size.layers * layerHeight,
    );
    return { positions, tolerance };
  }
}

interface CellSize {
  columns: number;
  rows: number;
  layers: number;
}

/** Undefined when there would be too many triangles. */
async function surfaceOf(
  source: SurfaceLayers,
  size: CellSize,
  signal?: AbortSignal,
): Promise<Triangles | undefined> {
  const net = new SurfaceNet(source, size);
  let slab = net.newSlab();
  let filled = 0;
  for (let first = 0; first < source.layers; first += layersAtOnce) {
    signal?.throwIfAborted();
    const count = Math.min(layersAtOnce, source.layers - first);
    for (const runs of await source.runs(first, count)) {
      net.fill(slab, runs);
      if (++filled < size.layers) continue;
      net.add(slab);
      [slab, filled] = [net.newSlab(), 0];
    }
    if (net.triangles > mostTriangles) return undefined;
  }
  if (filled > 0) net.add(slab);
  net.add(net.newSlab());
  return net.positions();
}

/** Takes slabs of cells, bottom first, with a border of empty cells around them, and puts a net around what is full. */
class SurfaceNet {
  triangles = 0;
  /** Cells, the border included. */
  private readonly across: number;
  private readonly along: number;
  private below: Float32Array;
  private slabs = 0;
  /** Number of the vertex between eight cells, of this and of the slab below; -1 where there is none. */
  private vertices: Int32Array;
  private verticesBelow: Int32Array;
  private readonly corners: number[] = [];
  private readonly quads: number[] = [];
  /** A mirrored plate would turn the surface inside out. */
  private readonly isMirrored: boolean;

  constructor(
    private readonly source: SurfaceLayers,
    private readonly size: CellSize,
  ) {
    this.across = Math.ceil(source.width / size.columns) + 2;
    this.along = Math.ceil(source.height / size.rows) + 2;
    this.below = this.newSlab();
    this.vertices = new Int32Array(this.below.length).fill(-1);
    this.verticesBelow = new Int32Array(this.below.length).fill(-1);
    const [corner, right, down] = [
      source.placeOf(0, 0),
      source.placeOf(1, 0),
      source.placeOf(0, 1),
    ];
    const [a, b] = [right[0] - corner[0], right[1] - corner[1]];
    const [c, d] = [down[0] - corner[0], down[1] - corner[1]];
    this.isMirrored = a * d - b * c < 0;
  }

  newSlab(): Float32Array {
    return new Float32Array(this.across * this.along);
  }

  /** Adds the share that the material of a layer has in the cells of a slab. */
  fill(slab: Float32Array, { rowStart, begin, end }: Runs): void {
    const { columns, rows, layers } = this.size;
    const share = 1 / (columns * rows * layers);
    for (let row = 0; row + 1 < rowStart.length; row++) {
      const start = this.across * (1 + Math.floor(row / rows)) + 1;
      for (let run = rowStart[row]; run < rowStart[row + 1]; run++) {
        const last = Math.floor((end[run] - 1) / columns);
        for (let cell = Math.floor(begin[run] / columns); cell <= last; cell++) {
          const from = Math.max(begin[run], cell * columns);
          const to = Math.min(end[run], (cell + 1) * columns);
          slab[start + cell] += (to - from) * share;
        }
      }
    }
  }

  /** Takes the next slab, which must not change any more. */
  add(slab: Float32Array): void {
    [this.vertices, this.verticesBelow] = [this.verticesBelow, this.vertices];
    this.findVertices(slab);
    this.joinSides();
    this.joinLevels(slab);
    this.below = slab;
    this.slabs++;
    this.triangles = this.quads.length / 2;
  }

  /** Nine numbers a triangle, mm. */
  positions(): Triangles {
    const { corners, quads } = this;
    const order = this.isMirrored ? [0, 2, 1, 0, 3, 2] : [0, 1, 2, 0, 2, 3];
    const positions = new Float32Array((quads.length / 4) * 18);
    let at = 0;
    for (let quad = 0; quad < quads.length; quad += 4) {
      for (const corner of order) {
        const vertex = 3 * quads[quad + corner];
        for (let axis = 0; axis < 3; axis++) positions[at++] = corners[vertex + axis];
      }
    }
    return positions;
  }

  /** One between eight cells that are not all full or all empty: the mean of where its edges are crossed. */
  private findVertices(slab: Float32Array): void {
    const { across, along, below, vertices } = this;
    vertices.fill(-1);
    const values = new Float64Array(8);
    for (let row = 0; row + 1 < along; row++) {
      for (let column = 0; column + 1 < across; column++) {
        const at = row * across + column;
        let full = 0;
        for (let corner = 0; corner < 8; corner++) {
          const cells = corner & 4 ? slab : below;
          values[corner] = cells[at + (corner & 1) + (corner & 2 ? across : 0)];
          if (values[corner] >= level) full++;
        }
        if (full === 0 || full === 8) continue;
        vertices[at] = this.corners.length / 3;
        this.addVertex(column, row, values);
      }
    }
  }

  private addVertex(column: number, row: number, values: Float64Array): void {
    const sum = [0, 0, 0];
    let crossings = 0;
    for (let corner = 0; corner < 8; corner++) {
      for (let axis = 0; axis < 3; axis++) {
        const other = corner | (1 << axis);
        if (other === corner || values[corner] >= level === values[other] >= level) continue;
        const share = (level - values[corner]) / (values[other] - values[corner]);
        for (let k = 0; k < 3; k++) sum[k] += k === axis ? share : (corner >> k) & 1;
        crossings++;
      }
    }
    const { columns, rows, layers } = this.size;
    // Cell 1 is the first within the border, and its value stands in its middle.
    const cell = (at: number, k: number): number => at + sum[k] / crossings - 0.5;
    const { source } = this;
    const inside = (value: number, most: number): number => Math.min(Math.max(value, 0), most);
    const [x, y] = source.placeOf(
      inside(cell(column, 0) * columns, source.width),
      inside(cell(row, 1) * rows, source.height),
    );
    const layer = inside(cell(this.slabs, 2) * layers, source.layers);
    this.corners.push(x, y, bottomOfLayer(source.heights, layer));
  }

  /** Quads across the edges within the slab below; the border, where nothing is full, has none. */
  private joinSides(): void {
    const { across, along, below, vertices, verticesBelow } = this;
    for (let row = 0; row + 1 < along; row++) {
      for (let column = 0; column + 1 < across; column++) {
        const at = row * across + column;
        const isFull = below[at] >= level;
        const left = at - 1;
        const front = at - across;
        if (isFull !== below[at + 1] >= level) {
          this.quad(isFull, verticesBelow[front], verticesBelow[at], vertices[at], vertices[front]);
        }
        if (isFull !== below[at + across] >= level) {
          this.quad(isFull, verticesBelow[left], vertices[left], vertices[at], verticesBelow[at]);
        }
      }
    }
  }

  /** Quads across the edges between the slab below and this one. */
  private joinLevels(slab: Float32Array): void {
    const { across, along, below, vertices } = this;
    for (let row = 1; row < along; row++) {
      for (let column = 1; column < across; column++) {
        const at = row * across + column;
        const isFull = below[at] >= level;
        if (isFull === slab[at] >= level) continue;
        this.quad(
          isFull,
          vertices[at - across - 1],
          vertices[at - across],
          vertices[at],
          vertices[at - 1],
        );
      }
    }
  }

  /** Counter-clockwise as seen from where it is empty; `isOutward`: that is up, or to higher columns or rows. */
  private quad(isOutward: boolean, a: number, b: number, c: number, d: number): void {
    if (isOutward) this.quads.push(a, b, c, d);
    else this.quads.push(d, c, b, a);
  }
}
