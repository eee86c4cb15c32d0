import type { CheckOptions } from 'stiltforge/check';
import {
  type LayerHeights,
  openPrinterFile,
  type PrinterFile,
  type PrintSettings,
} from 'stiltforge/slicing';
import { codeOf, ExitCode, messageOf, UserError } from './errors.js';

/** What a person says of a print; what is missing comes from its file. */
export interface GivenPrint {
  /** mm, of all layers, also the first. */
  layerHeight?: number;
  /** mm */
  pixelSize?: number;
  /** mm, where the file does not say them. */
  usualLayerHeight?: number;
  usualPixelSize?: number;
  /** The lowest grey that is material, 1 to 255. */
  threshold?: number;
  /** Whether its layers are read more than once, as a report reads them. */
  isReadAgain?: boolean;
}

/** Bytes of layers that stay decoded. */
const keptBytes = 96e6;

/** A print as its file has it. */
export interface PrintedFile {
  /** Its path. */
  name: string;
  file: PrinterFile;
  print: PrintSettings & LayerHeights;
  /** mm, of a pixel of the layers. */
  pixel: { width: number; height: number };
  /** Sentences that a person should read. */
  warnings: string[];
}

/** What there is to know of a print's layers. */
export type CheckedPrint = Pick<
  CheckOptions,
  | 'layerHeight'
  | 'firstLayerHeight'
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

/** From this share on pixels count as not square. */
const strikingDifference = 0.01;

const exitCodes = new Map<unknown, ExitCode>([
  ['ERR_STILTFORGE_FILE', ExitCode.mesh],
  ['ERR_STILTFORGE_MEMORY', ExitCode.memory],
]);

/** What is wrong with a printer file, also at one of its layers, as a UserError; other errors as they are. */
export function asUserError(error: unknown): unknown {
  const exitCode = exitCodes.get(codeOf(error));
  return exitCode === undefined
    ? error
    : new UserError(exitCode, messageOf(error), { cause: error });
}

/**
 * Opens a printer file, an archive or a folder of pictures: that of the path `name`, or its bytes. Throws
 * a UserError that names it when it can't be used or neither it nor `given` says how large layers and
 * pixels are; the signal's reason.
 */
export async function openPrint(
  name: string,
  given: GivenPrint,
  signal?: AbortSignal,
  bytes?: ArrayBuffer,
): Promise<PrintedFile> {
  const file = await opened(name, bytes, given, signal);
  const layerHeight = given.layerHeight ?? file.layerHeight ?? given.usualLayerHeight;
  if (layerHeight === undefined) throw unsaid(name, 'how high its layers are', '--layer-height');
  const pixel = pixelOf(file, given);
  if (pixel === undefined) throw unsaid(name, 'how large its pixels are', '--pixel-size');
  return {
    ...{ name, file, pixel },
    print: {
      layerHeight,
      ...ownFirstLayer(layerHeight, file, given),
      // Distances in the layers are those of square pixels of the same area.
      pixelSize: Math.sqrt(pixel.width * pixel.height),
      screenWidth: file.width,
      screenHeight: file.height,
    },
    warnings: shapeWarnings(pixel),
  };
}

async function opened(
  name: string,
  bytes: ArrayBuffer | undefined,
  { threshold, isReadAgain }: GivenPrint,
  signal: AbortSignal | undefined,
): Promise<PrinterFile> {
  try {
    return await openPrinterFile(bytes ?? name, {
      ...{ threshold, signal, keptBytes: isReadAgain ? keptBytes : 0 },
      ...(bytes && { name }),
    });
  } catch (error) {
    signal?.throwIfAborted();
    throw asUserError(error);
  }
}

function pixelOf(
  { pixelWidth, pixelHeight }: PrinterFile,
  { pixelSize, usualPixelSize }: GivenPrint,
): PrintedFile['pixel'] | undefined {
  const width = pixelSize ?? pixelWidth ?? pixelHeight ?? usualPixelSize;
  const height = pixelSize ?? pixelHeight ?? pixelWidth ?? usualPixelSize;
  return width === undefined || height === undefined ? undefined : { width, height };
}

/** The height of the first layer, where the file gives it another than the rest. */
function ownFirstLayer(
  layerHeight: number,
  { firstLayerHeight = layerHeight }: PrinterFile,
  given: GivenPrint,
): Pick<LayerHeights, 'firstLayerHeight'> {
  const isOwn = given.layerHeight === undefined && firstLayerHeight !== layerHeight;
  return isOwn ? { firstLayerHeight } : {};
}

function unsaid(name: string, what: string, option: string): UserError {
  return new UserError(ExitCode.usage, `${name}: the file does not say ${what}. Give ${option}.`);
}

function shapeWarnings({ width, height }: PrintedFile['pixel']): string[] {
  if (Math.abs(width / height - 1) <= strikingDifference) return [];
  const size = `${toMicrometre(width)} x ${toMicrometre(height)} mm`;
  return [
    `The pixels are not square (${size}): distances in a layer were taken as those of square pixels ` +
      'of the same area.',
  ];
}

function toMicrometre(millimetres: number): number {
  return Math.round(1000 * millimetres) / 1000;
}

/** What a check has to know of the layers. */
export function checkedPrint({ file, print, pixel }: PrintedFile): CheckedPrint {
  const { turned, mirroredX, mirroredY } = file;
  const { layerHeight, firstLayerHeight, screenWidth, screenHeight } = print;
  return {
    ...{ layerHeight, firstLayerHeight },
    ...{ pixelWidth: pixel.width, pixelHeight: pixel.height },
    ...{ screenWidth, screenHeight, turned, mirroredX, mirroredY },
  };
}

/** Millimetres of the plate, from its left front corner, of the middle of a pixel of the layers. */
export function placeOnPlate(
  { file, pixel }: Pick<PrintedFile, 'file' | 'pixel'>,
  column: number,
  row: number,
): { x: number; y: number } {
  const across = (file.mirroredX ? file.width - 1 - column : column) + 0.5;
  const down = (file.mirroredY ? file.height - 1 - row : row) + 0.5;
  const up = (file.height - down) * pixel.height;
  return file.turned
    ? { x: up, y: (file.width - across) * pixel.width }
    : { x: across * pixel.width, y: up };
}

/** Pixels of the layers, the last ones not included. */
export interface PixelBox {
  left: number;
  top: number;
  right: number;
  bottom: number;
}

/** mm: the corners on the plate of a box of pixels. */
export function boxOnPlate(
  printed: Pick<PrintedFile, 'file' | 'pixel'>,
  { left, top, right, bottom }: PixelBox,
): { min: [x: number, y: number]; max: [x: number, y: number] } {
  const corners = [
    placeOnPlate(printed, left - 0.5, top - 0.5),
    placeOnPlate(printed, right - 0.5, bottom - 0.5),
  ];
  const [xs, ys] = [corners.map(({ x }) => x), corners.map(({ y }) => y)];
  return {
    min: [Math.min(...xs), Math.min(...ys)],
    max: [Math.max(...xs), Math.max(...ys)],
  };
}

/** The part of the layers around a box, with a margin of some pixels. */
export function cropAround(
  { width, height }: Pick<PrinterFile, 'width' | 'height'>,
  box: PixelBox,
  margin: number,
): { column: number; row: number; width: number; height: number } {
  const column = Math.max(0, box.left - margin);
  const row = Math.max(0, box.top - margin);
  return {
    ...{ column, row },
    width: Math.min(width, box.right + margin) - column,
    height: Math.min(height, box.bottom + margin) - row,
  };
}
