import { existsSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { messageOf } from './errors.js';
import type { Box, Triangles } from './mesh/triangles.js';

export interface SlicerOptions {
  positions: Triangles;
  /** mm */
  layerHeight: number;
  /** mm, side of the square pixels */
  pixelSize: number;
  /** The printer's screen, pixels. */
  screenWidth: number;
  screenHeight: number;
  /** Pixels left free around the model. */
  margin: number;
  /** Degrees between the plate and a surface that just carries itself. */
  criticalAngle: number;
  /** mm beyond the material below from where on the support value is 0. */
  fullOverhang: number;
  /** mm inwards of the contour from where on the stroke value is 0. */
  inset: number;
}

/** Counts that tell how far a mesh is from a closed surface; volumes in cubic millimetres. */
export interface MeshReport {
  triangles: number;
  vertices: number;
  degenerateTriangles: number;
  openEdges: number;
  nonManifoldEdges: number;
  misorientedEdges: number;
  parts: number;
  openParts: number;
  flippedParts: number;
  cavities: number;
  signedVolume: number;
  /** What the slices should add up to; an estimate where parts are open or overlap. */
  expectedVolume: number;
  bounds: Box;
}

export interface Slice {
  /** RGBA pixels: red material, green stroke value, blue support value. */
  pixels: ArrayBuffer;
  materialPixels: number;
  /** Millimetres above the plate, the middle of the layer. */
  z: number;
}

/** Cuts a triangle mesh into slices, on a thread of its own. */
export interface Slicer {
  readonly layerCount: number;
  /** Pixels of the slices: the part of the screen around the model. */
  readonly width: number;
  readonly height: number;
  /** Screen column and row of the slices' first pixel. */
  readonly cropX: number;
  readonly cropY: number;
  /**
   * The centre of a slice's pixel lies at x = originX + (cropX + column + 0.5) * pixelSize and
   * y = originY - (cropY + row + 0.5) * pixelSize in the mesh's coordinates.
   */
  readonly originX: number;
  readonly originY: number;
  readonly report: MeshReport;
  /** `recycled`, of exactly width * height * 4 bytes, is filled instead of a new buffer. */
  slice(index: number, recycled?: ArrayBuffer): Promise<Slice>;
}

interface SlicingModule {
  Slicer: new (options: SlicerOptions) => Slicer;
}

const binary = 'slicing.node';

/** The slicing addon: prebuilt in the package, or built in a folder above it. */
export function loadSlicing(): SlicingModule {
  const require = createRequire(import.meta.url);
  const packageFolder = dirname(dirname(fileURLToPath(import.meta.url)));
  const files = [join(packageFolder, 'prebuilds', `${process.platform}-${process.arch}`, binary)];
  for (let folder = packageFolder; folder !== dirname(folder); folder = dirname(folder)) {
    files.push(join(folder, 'build', 'Release', binary));
  }
  const file = files.find(existsSync);
  if (file === undefined) {
    throw new Error(
      `the slicing addon for ${process.platform}-${process.arch} is missing; ` +
        'build it from a clone of the repository with: npm install && npm run build',
    );
  }
  try {
    return require(file) as SlicingModule;
  } catch (error) {
    throw new Error(`the slicing addon ${file} can't be loaded: ${messageOf(error)}`, {
      cause: error,
    });
  }
}
