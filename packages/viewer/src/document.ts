/** A support point as supports.json has it. */
export interface PointRecord {
  /** Millimetres, in the coordinates of the model. */
  x: number;
  y: number;
  z: number;
  /** Pixel of the screen. */
  column: number;
  row: number;
  layer: number;
  region: number;
  kind: 'island' | 'overhang';
  /** Why it is there, where the program knows more than its kind. */
  reason?: string;
}

/** What supports.json says of a part. A program may leave out what it does not know. */
export interface PartDocument {
  generator: string;
  model: {
    file: string;
    min: readonly number[];
    max: readonly number[];
    /** Cubic millimetres of material in the slices. */
    sliceVolume?: number;
    warnings?: readonly string[];
    mesh?: object;
  };
  print: {
    /** mm */
    layerHeight: number;
    pixelSize: number;
    /** Pixels. */
    screenWidth: number;
    screenHeight: number;
    layers: number;
    /** The part of the screen that the slices show, pixels. */
    crop: { column: number; row: number; width: number; height: number };
  };
  settings?: object;
  parameters?: object;
  summary?: object;
  supports: readonly PointRecord[];
}

/** A region above the first layer that rests on nothing. */
export interface IslandRecord {
  layer: number;
  /** From 1. */
  region: number;
  /** A pixel of it, of the screen. */
  column: number;
  row: number;
  pixels: number;
  /** Support points that stand in it. */
  points: number;
}

/** One number a layer. */
export interface LayerColumns {
  regions: number[];
  /** mm2 */
  material: number[];
  /** mm2 whose support value is below 255. */
  overhang: number[];
  /** mm2 that nothing held before the layer's own points, and that these hold. */
  owed?: number[];
  given?: number[];
}

/** Where something lies in the binary part. */
export interface Section {
  offset: number;
  /** Bytes. */
  length: number;
}

export interface MeshIndex extends Section {
  vertices: number;
  triangles: number;
  /** Triangles of the file, before some were merged. */
  sourceTriangles: number;
  /** mm, how far corners may lie from where they were, along each axis. */
  tolerance: number;
}

export interface SliceIndex {
  /** The layers that are kept, ascending. */
  layers: number[];
  /** Bytes of each; they lie one behind the other from `offset` on. */
  lengths: number[];
  offset: number;
}

/** All that the viewer shows, but for the mesh and the slices, which are in the binary part. */
export interface ViewerDocument {
  viewerVersion: 1;
  part: PartDocument;
  layers: LayerColumns;
  islands: IslandRecord[];
  /** z of what a straight pillar under each point would stand on, mm. */
  feet?: number[];
  mesh: MeshIndex;
  slices: SliceIndex;
}

/** A part as a page takes it: a document and the bytes that it points into. */
export interface PackedPart {
  document: ViewerDocument;
  binary: Uint8Array;
}
