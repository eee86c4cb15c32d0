// From a mesh, a printer file or masks to slices: what a host needs before the analysis and does not have.

import { binding } from './binding.js';
import type { FileSource } from './file_source.js';
import type { ChannelOptions, LabelledRuns, Slice } from './sliced_layer.js';
import { type AbortSignalLike, following } from './waiting.js';

export type { FileSource } from './file_source.js';
export { bottomOfLayer, type LayerHeights } from './layer_heights.js';
export {
  analysisParameters,
  defaultPrint,
  defaultSupport,
  findSettingConflict,
  type PrintSettings,
  type SettingConflict,
  type SupportSettings,
} from './print.js';
export {
  createLayerSlicer,
  isPrinterFile,
  type LayerSlicer,
  type LayerSlicerOptions,
  type OpenOptions,
  openPrinterFile,
  type PrinterFile,
} from './printer_file.js';
export type { ChannelOptions, LabelledRuns, Slice } from './sliced_layer.js';

/** Nine floats a triangle: x, y, z of its three corners, in millimetres, z pointing up. */
export type Triangles = Float32Array<ArrayBuffer>;

export type Point = [x: number, y: number, z: number];

export interface Box {
  min: Point;
  max: Point;
}

export interface SlicerOptions extends ChannelOptions {
  /** The mesh, seen counter-clockwise from outside. Copied by the constructor. */
  positions: Triangles;
  /** The printer's screen, pixels, whole and at least 1. The model has to fit on it. */
  screenWidth: number;
  screenHeight: number;
  /** mm from the screen's centre to the centre of the model's box; 0 unless set. */
  offsetX?: number;
  offsetY?: number;
  /** mm from the plate to the model's lowest point; 0 unless set. The layers below it are empty. */
  lift?: number;
  /** Pixels left free around the model, as far as the screen reaches, whole; 0 unless set. */
  margin?: number;
}

/** How far a mesh is from a closed surface. */
export interface MeshReport {
  triangles: number;
  /** Positions, each counted once. */
  vertices: number;
  /** Triangles without area. */
  degenerateTriangles: number;
  /** Edges of one triangle only. */
  openEdges: number;
  /** Edges of more than two triangles. */
  nonManifoldEdges: number;
  /**
   * Edges along which two triangles run the same way. Slices and all that follows here have the
   * triangles turned until neighbours agree, where they can.
   */
  misorientedEdges: number;
  /** Sets of triangles that hang together by vertices. */
  parts: number;
  openParts: number;
  /**
   * mm: the longest of the lines by which slices close the contours of open parts; 0 where all that is
   * open is level, so that no slice shows it. Of a mesh of very many loose triangles it is that of
   * every n-th slice.
   */
  widestGap: number;
  /** Closed parts inside out, cavities not counted. */
  flippedParts: number;
  /** Closed parts that hollow a closed part around them. */
  cavities: number;
  /** Parts that neither stand on the plate nor touch one that does. */
  floatingParts: number;
  /** mm from the plate to the lowest of them; 0 without any. */
  floatingFrom: number;
  /** mm3, the sum over the parts as they are oriented. */
  signedVolume: number;
  /**
   * mm3: what the slices' materialPixels * pixelSize ** 2 * layerHeight should add up to. An
   * estimate where parts are open or overlap.
   */
  expectedVolume: number;
  /** mm. */
  bounds: Box;
}

/** Cuts a triangle mesh into slices, off the main thread. */
export interface Slicer {
  /** 1 to 65535. */
  readonly layerCount: number;
  /** Pixels of the slices, 1 to 65535: the part of the screen around the model. */
  readonly width: number;
  readonly height: number;
  /** Screen column and row of the slices' first pixel. */
  readonly cropX: number;
  readonly cropY: number;
  /**
   * mm: the screen's outer corner at column 0, row 0 in the mesh's coordinates. The centre of a
   * slice's pixel lies at x = originX + (cropX + column + 0.5) * pixelSize and
   * y = originY - (cropY + row + 0.5) * pixelSize.
   */
  readonly originX: number;
  readonly originY: number;
  /** mm: z of the plate in the mesh's coordinates. */
  readonly plateZ: number;
  readonly report: MeshReport;
  /** Numbers of the mesh's triangles that the slices have turned around, so that neighbours agree. */
  readonly turnedTriangles: Uint32Array;
  /**
   * A layer, counted from 0 at the plate. Calls run one after the other; any order of layers gives
   * the same bytes, ascending is fastest. `recycled`, of exactly width * height * 4 bytes, is
   * transferred: it is detached by the call, and its memory comes back as the slice's pixels.
   *
   * Rejects with a TypeError or a RangeError when there is no such layer or the buffer does not fit,
   * with a DataCloneError when it can't be transferred, with an Error when there is not enough memory.
   */
  slice(index: number, recycled?: ArrayBuffer): Promise<Slice>;
  /**
   * The `count` layers from `first` on, one unless set, as runs of the same pixels; several at once are
   * sliced side by side. Rejects as slice() does.
   */
  runs(first: number, count?: number): Promise<LabelledRuns[]>;
}

export interface MaskSlicerOptions extends ChannelOptions {
  /** Pixels of the masks. */
  maskWidth: number;
  maskHeight: number;
  /** Column and row of the masks that the slices start with; 0 unless set. */
  cropX?: number;
  cropY?: number;
  /** Pixels of the slices, 1 to 65535, within the masks; as the masks unless set. */
  width?: number;
  height?: number;
  /** The lowest grey that is material, 1 to 255; 128 unless set. */
  threshold?: number;
}

/** Makes slices of layers that are pictures already, off the main thread. */
export interface MaskSlicer {
  /**
   * The next layer up, the first call the one on the plate. mask: maskWidth * maskHeight grey bytes,
   * row by row, copied by the call; for `recycled` see Slicer.slice. A layer that is rejected, for the
   * reasons of Slicer.slice, counts as none.
   */
  next(mask: Uint8Array, recycled?: ArrayBuffer): Promise<Slice>;
}

/** A named part of a mesh file. */
export interface MeshObject {
  /** A solid of a text STL, an object of an OBJ, a build item of a 3MF; empty without a name. */
  name: string;
  triangles: number;
}

export interface MeshFile {
  /** Counter-clockwise as seen from outside, all coordinates finite. */
  positions: Triangles;
  format: 'binary STL' | 'text STL' | 'OBJ' | 'PLY' | '3MF';
  /** At least one, in the order of their triangles, which add up to all. */
  objects: MeshObject[];
  /** Sentences on what was left out, for the person who chose the file. */
  warnings: string[];
}

export interface ReadMeshOptions {
  /** Of bytes: their file, for messages; its extension counts where the content leaves it open. */
  name?: string;
  signal?: AbortSignalLike;
}

interface SlicingBinding {
  readMesh(source: FileSource, options?: ReadMeshOptions): Promise<MeshFile>;
  Slicer: new (options: SlicerOptions) => Slicer;
  MaskSlicer: new (options: MaskSlicerOptions) => MaskSlicer;
}

/**
 * Reads a mesh in STL, OBJ, PLY or 3MF off the main thread: the file of a path, or bytes, which the
 * call copies. The content tells the format.
 *
 * Rejects with an Error that names the file, what is wrong with it and where, and what to do, with the
 * code ERR_STILTFORGE_MESH; ERR_STILTFORGE_MEMORY when memory runs out, ABORT_ERR when the signal is
 * aborted; with a TypeError for arguments that are none and for an unknown option.
 */
export function readMesh(source: FileSource, options?: ReadMeshOptions): Promise<MeshFile> {
  const { readMesh: read } = binding<SlicingBinding>();
  return following(options?.signal, (signal) =>
    read(source, signal ? { ...options, signal } : options),
  );
}

/**
 * Prepares a mesh for slicing, on the calling thread. Throws a TypeError for an option that is missing,
 * unknown or of another type, a RangeError for one that has to be whole and is not, and an Error for
 * what cannot be sliced: its message says what is wrong, by how much, and what to do.
 */
export function createSlicer(options: SlicerOptions): Slicer {
  const { Slicer } = binding<SlicingBinding>();
  return new Slicer(options);
}

/** Throws as createSlicer() does. */
export function createMaskSlicer(options: MaskSlicerOptions): MaskSlicer {
  const { MaskSlicer } = binding<SlicingBinding>();
  return new MaskSlicer(options);
}
