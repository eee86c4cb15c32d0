/** How the analysis weighed the region that a point stands in. */
export interface RegionWeight {
  pixels: number;
  /** Of them, those on material of the layer below. */
  resting: number;
  /** Of them, those with a support value below 255. */
  overhanging: number;
  /** Pixels that nothing held: what points were placed for. */
  owed: number;
  /** Points that the analysis placed in it. */
  supports: number;
}

/** A place of the print. */
export interface PixelPlace {
  layer: number;
  /** Pixel of the screen. */
  column: number;
  row: number;
}

/** A support point as supports.json has it. */
export interface PointRecord extends PixelPlace {
  /** Millimetres, in the coordinates of the model. */
  x: number;
  y: number;
  z: number;
  /** From 1; 0 where it is not known. */
  region: number;
  kind: 'island' | 'overhang';
  /** Index of its mesh in the model's plate, where there is one. */
  part?: number;
  /**
   * `analysed`: the analysis placed it; `merged`: the same, and it stands for others, too;
   * `addedForIsland`: nothing held an island; `addedForOverhang`: it closes a gap between the points.
   */
  reason?: 'analysed' | 'merged' | 'addedForIsland' | 'addedForOverhang';
  /** How many other points it stands for. */
  standsFor?: number;
  weight?: RegionWeight;
}

/** A point that the analysis placed and that is not among the supports. */
export interface DroppedRecord extends PixelPlace {
  kind: 'island' | 'overhang';
  /**
   * `merged`: another holds what it held; `holdsLittle`: it held next to nothing; `holdsNothing`:
   * nothing overhangs there; `noRoom`: no support fits; `sealedVoid`: it could not be taken out.
   */
  reason: 'merged' | 'holdsLittle' | 'holdsNothing' | 'noRoom' | 'sealedVoid';
  /** Index of the support that it was merged into. */
  into?: number;
}

/** mm2 of overhang, and of it what is further than the reaches from every point. */
export interface HeldSurface {
  area: number;
  beyondNear: number;
  beyondFar: number;
}

/** What the supports hold of the part. */
export interface VerdictRecord {
  /** mm */
  nearReach: number;
  farReach: number;
  /** Islands that nothing takes soon enough. */
  islands: (PixelPlace & { pixels: number; hasRoom: boolean; isSealed: boolean })[];
  overhang: HeldSurface;
  overhangWithoutRoom: HeldSurface;
  overhangInSealedVoids: HeldSurface;
  /** Overhang furthest from a point, worst first; mm, none where there is no point at all. */
  worst: (PixelPlace & { distance: number | null })[];
  /** Indices of supports. */
  inNoMaterial: number[];
  onHeldMaterial: number[];
  withoutRoom: number[];
  inSealedVoids: number[];
  closePairs: { first: number; second: number; distance: number; isSeparate: boolean }[];
}

/** Something that a check of the print found. */
export interface CheckFinding {
  severity: 'fails' | 'risk' | 'note';
  /** What is wrong, without a capital and a full stop; what to do about it, a sentence. */
  what: string;
  remedy: string;
  firstLayer: number;
  place?: PixelPlace;
}

/** What a check of the print found, worst first. */
export interface CheckRecord {
  findings: readonly CheckFinding[];
  /** How many there are of each severity, of a check of all that may go wrong. */
  counts?: Record<CheckFinding['severity'], number>;
}

/** mm in the coordinates of the model. */
type Vector = readonly [x: number, y: number];

/** Where the pixels of the screen are: its outer corner at column 0, row 0, and a pixel's sides. */
export interface PixelGrid {
  corner: Vector;
  /** From a column to the next, from a row to the next. */
  column: Vector;
  row: Vector;
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
    /** Of a plate that was put together of meshes: their files. */
    plate?: readonly { file: string }[];
  };
  print: {
    /** mm */
    layerHeight: number;
    /** mm, of the layer on the plate; as the others unless set. */
    firstLayerHeight?: number;
    pixelSize: number;
    /** Pixels. */
    screenWidth: number;
    screenHeight: number;
    layers: number;
    /** mm from the plate to the part; 0 unless set. */
    lift?: number;
    /** The part of the screen that the slices show, pixels. */
    crop: { column: number; row: number; width: number; height: number };
    /** Unless set, the box of the model stands in the middle of the screen, y against the rows. */
    grid?: PixelGrid;
  };
  settings?: object;
  parameters?: object;
  summary?: {
    /** Regions above the first layer that rest on nothing, as the program counts them. */
    islands?: number;
  };
  supports: readonly PointRecord[];
  dropped?: readonly DroppedRecord[];
  verdict?: VerdictRecord;
  check?: CheckRecord;
}

/** A region above the first layer that rests on nothing. */
export interface IslandRecord extends PixelPlace {
  /** From 1; column and row are a pixel of it. */
  region: number;
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

export interface MeshSection extends Section {
  vertices: number;
  triangles: number;
}

export interface MeshIndex extends MeshSection {
  /** Triangles of the file, before some were merged. */
  sourceTriangles: number;
  /** mm, how far corners may lie from where they were, along each axis. */
  tolerance: number;
  /** The triangles were put around the layers, for there was no mesh. */
  isOfLayers?: boolean;
}

/** Supports as they are built. */
export interface ScaffoldIndex {
  supports: number;
  braces: number;
  /** Numbers of points below which the part is in the way wherever a pillar might go. */
  withoutWay: number[];
  /** The rings of all of them. */
  rings: Section;
  /** mm: the corners of its box, on whose grid its mesh lies. */
  raft?: MeshSection & { min: number[]; max: number[] };
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
  mesh: MeshIndex;
  scaffold?: ScaffoldIndex;
  slices: SliceIndex;
}

/** A part as a page takes it: a document and the bytes that it points into. */
export interface PackedPart {
  document: ViewerDocument;
  binary: Uint8Array;
}
