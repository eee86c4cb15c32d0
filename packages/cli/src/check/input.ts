import type { CheckedLayers, CheckPoint } from 'stiltforge/check';
import {
  createLayerSlicer,
  createSlicer,
  isPrinterFile,
  type PrintSettings,
  type Slicer,
  type Triangles,
} from 'stiltforge/slicing';
import { ExitCode, messageOf, UserError } from '../errors.js';
import { loadMesh } from '../mesh/load.js';
import { turnedBack } from '../mesh/turned_back.js';
import type { PartOptions } from '../part_options.js';
import { placedMesh } from '../placement.js';
import {
  type CheckedPrint,
  checkedPrint,
  type GivenPrint,
  openPrint,
  type PrintedFile,
} from '../printed_file.js';
import { openSurface } from '../warnings.js';
import type { SupportPlace } from './points.js';

/** Layers of a mesh, as it was placed; mm from the plate to it. */
export interface MeshLayers {
  slicer: Slicer;
  mesh: Triangles;
  lift: number;
}

export interface FileLayers {
  printed: PrintedFile;
}

/** What is checked: layers, and what has to be known of them. */
export interface CheckInput {
  layers: CheckedLayers;
  print: CheckedPrint;
  points?: CheckPoint[];
  /** Where the layers come from. */
  source: MeshLayers | FileLayers;
  /** Sentences for the person who chose the file. */
  warnings: string[];
}

export interface InputOptions {
  part: PartOptions;
  /** How meshes are sliced. */
  print: PrintSettings;
  /** What is said of printer files. */
  given: GivenPrint;
  /** Supports of a mesh. */
  supports?: readonly SupportPlace[];
  signal?: AbortSignal;
}

/** Pixels left free around a part, so that the space around it is one. */
const margin = 2;

/** Throws a UserError when the file can't be used. */
export function openInput(file: string, options: InputOptions): Promise<CheckInput> {
  return isPrinterFile(file) ? openLayers(file, options) : openMesh(file, options);
}

async function openMesh(file: string, options: InputOptions): Promise<CheckInput> {
  const mesh = await loadMesh(file, options.signal);
  const { print, supports } = options;
  const { layerHeight, pixelSize, screenWidth, screenHeight, lift = 0 } = print;
  const placed = placedMesh(mesh, file, options.part);
  const slicer = sliced(file, () => createSlicer({ positions: placed, ...print, margin }));
  const plateZ = slicer.report.bounds.min[2] - lift;
  return {
    layers: slicer,
    print: { layerHeight, pixelWidth: pixelSize, screenWidth, screenHeight, plateZ, lift },
    points: supports?.map(({ x, y, z }) => ({
      layer: Math.round((z - plateZ) / layerHeight),
      column: Math.floor((x - slicer.originX) / pixelSize),
      row: Math.floor((slicer.originY - y) / pixelSize),
    })),
    source: { slicer, mesh: turnedBack(placed, slicer.turnedTriangles), lift },
    warnings: [...mesh.warnings, ...openSurface(slicer.report, pixelSize)],
  };
}

async function openLayers(path: string, options: InputOptions): Promise<CheckInput> {
  if (options.supports) {
    throw new UserError(
      ExitCode.usage,
      `${path}: a printer file has its supports in its layers. Leave out --points.`,
    );
  }
  const printed = await openPrint(path, options.given, options.signal);
  const { layerHeight, pixelSize } = printed.print;
  return {
    layers: sliced(path, () => createLayerSlicer(printed.file, { layerHeight, pixelSize })),
    print: checkedPrint(printed),
    source: { printed },
    // Distances are right for pixels that are not square, so there is nothing to warn of.
    warnings: [],
  };
}

function sliced<T>(file: string, make: () => T): T {
  try {
    return make();
  } catch (error) {
    if (error instanceof UserError) throw error;
    throw new UserError(ExitCode.mesh, `${file}: ${messageOf(error)}`, { cause: error });
  }
}
