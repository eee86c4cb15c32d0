import type { CheckedLayers, CheckOptions, CheckPoint } from 'stiltforge/check';
import {
  createLayerSlicer,
  createSlicer,
  isPrinterFile,
  type PrintSettings,
} from 'stiltforge/slicing';
import { ExitCode, messageOf, UserError } from '../errors.js';
import { loadMesh } from '../mesh/load.js';
import type { PartOptions } from '../part_options.js';
import { placedMesh } from '../placement.js';
import { type GivenPrint, openPrint } from '../printed_file.js';
import type { SupportPlace } from './points.js';

/** What is checked: layers, and what has to be known of them. */
export interface CheckInput {
  layers: CheckedLayers;
  print: Pick<
    CheckOptions,
    | 'layerHeight'
    | 'pixelWidth'
    | 'pixelHeight'
    | 'screenWidth'
    | 'screenHeight'
    | 'plateZ'
    | 'lift'
    | 'turned'
    | 'mirroredX'
    | 'mirroredY'
  >;
  points?: CheckPoint[];
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
  const slicer = sliced(file, () =>
    createSlicer({ positions: placedMesh(mesh, file, options.part), ...print, margin }),
  );
  const plateZ = slicer.report.bounds.min[2] - lift;
  return {
    layers: slicer,
    print: { layerHeight, pixelWidth: pixelSize, screenWidth, screenHeight, plateZ, lift },
    points: supports?.map(({ x, y, z }) => ({
      layer: Math.round((z - plateZ) / layerHeight),
      column: Math.floor((x - slicer.originX) / pixelSize),
      row: Math.floor((slicer.originY - y) / pixelSize),
    })),
    warnings: mesh.warnings,
  };
}

async function openLayers(path: string, options: InputOptions): Promise<CheckInput> {
  if (options.supports) {
    throw new UserError(
      ExitCode.usage,
      `${path}: a printer file has its supports in its layers. Leave out --points.`,
    );
  }
  const { file, print, pixel } = await openPrint(path, options.given, options.signal);
  const { turned, mirroredX, mirroredY } = file;
  const { layerHeight, pixelSize, screenWidth, screenHeight } = print;
  const [pixelWidth, pixelHeight] = [pixel.width, pixel.height];
  return {
    layers: sliced(path, () => createLayerSlicer(file, { layerHeight, pixelSize })),
    print: {
      ...{ layerHeight, pixelWidth, pixelHeight, screenWidth, screenHeight },
      ...{ turned, mirroredX, mirroredY },
    },
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
