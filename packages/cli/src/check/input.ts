import type { CheckedLayers, CheckOptions, CheckPoint } from 'stiltforge/check';
import {
  createLayerSlicer,
  createSlicer,
  isPrinterFile,
  openPrinterFile,
  type PrinterFile,
  type PrintSettings,
} from 'stiltforge/slicing';
import { codeOf, ExitCode, messageOf, UserError } from '../errors.js';
import { loadMesh } from '../mesh/load.js';
import type { PartOptions } from '../part_options.js';
import { placedMesh } from '../placement.js';
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
  /** Of it, what printer files take that do not say it themselves. */
  given: Partial<Pick<PrintSettings, 'layerHeight' | 'pixelSize'>>;
  /** Supports of a mesh. */
  supports?: readonly SupportPlace[];
  signal?: AbortSignal;
}

/** Pixels left free around a part, so that the space around it is one. */
const margin = 2;

/** Throws a UserError when the file can't be used. */
export function openInput(file: string, options: InputOptions): Promise<CheckInput> {
  return isPrinterFile(file) ? openPrint(file, options) : openMesh(file, options);
}

async function openMesh(file: string, options: InputOptions): Promise<CheckInput> {
  const mesh = await loadMesh(file, options.signal);
  const { print, supports } = options;
  const { layerHeight, pixelSize, screenWidth, screenHeight } = print;
  const slicer = sliced(file, () =>
    createSlicer({ positions: placedMesh(mesh, file, options.part), ...print, margin }),
  );
  const plateZ = slicer.report.bounds.min[2];
  return {
    layers: slicer,
    print: { layerHeight, pixelWidth: pixelSize, screenWidth, screenHeight, plateZ },
    points: supports?.map(({ x, y, z }) => ({
      layer: Math.round((z - plateZ) / layerHeight),
      column: Math.floor((x - slicer.originX) / pixelSize),
      row: Math.floor((slicer.originY - y) / pixelSize),
    })),
    warnings: mesh.warnings,
  };
}

async function openPrint(path: string, options: InputOptions): Promise<CheckInput> {
  const file = await opened(path, options.signal);
  if (options.supports) {
    throw new UserError(
      ExitCode.usage,
      `${path}: a printer file has its supports in its layers. Leave out --points.`,
    );
  }
  const { layerHeight = options.given.layerHeight } = file;
  const pixelWidth = file.pixelWidth ?? file.pixelHeight ?? options.given.pixelSize;
  if (layerHeight === undefined) throw unsaid(path, 'its layer height', '--layer-height');
  if (pixelWidth === undefined) throw unsaid(path, 'the size of its pixels', '--pixel-size');
  const { pixelHeight = pixelWidth } = file;
  return {
    layers: sliced(path, () => createLayerSlicer(file, { layerHeight, pixelSize: pixelWidth })),
    print: {
      layerHeight,
      pixelWidth,
      pixelHeight,
      screenWidth: file.width,
      screenHeight: file.height,
      turned: file.turned,
      mirroredX: file.mirroredX,
      mirroredY: file.mirroredY,
    },
    warnings: [],
  };
}

async function opened(path: string, signal?: AbortSignal): Promise<PrinterFile> {
  try {
    return await openPrinterFile(path, { signal });
  } catch (error) {
    throw fileError(path, error);
  }
}

/** The UserError for a printer file that can't be used; any other error as it is. */
export function fileError(path: string, error: unknown): unknown {
  if (codeOf(error) !== 'ERR_STILTFORGE_FILE') return error;
  const message = messageOf(error);
  const named = message.startsWith(path) ? message : `${path}: ${message}`;
  return new UserError(ExitCode.mesh, named, { cause: error });
}

function unsaid(path: string, what: string, option: string): UserError {
  return new UserError(ExitCode.usage, `${path}: it does not say ${what}. Give it with ${option}.`);
}

function sliced<T>(file: string, make: () => T): T {
  try {
    return make();
  } catch (error) {
    if (error instanceof UserError) throw error;
    throw new UserError(ExitCode.mesh, `${file}: ${messageOf(error)}`, { cause: error });
  }
}
