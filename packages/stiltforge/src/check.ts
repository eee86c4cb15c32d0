// Does a print hold as it is? docs/check.md tells what is found, and how.

import { binding } from './binding.js';
import { bottomOfLayer, type LayerHeights } from './layer_heights.js';
import type { LayerSource } from './layer_source.js';
import { requireObject } from './required_object.js';
import type { Box } from './slicing.js';
import { type AbortSignalLike, abortable } from './waiting.js';

export type { Box, Point } from './slicing.js';
export type { AbortSignalLike } from './waiting.js';

export type FindingKind =
  /** Layers without material. */
  | 'emptyLayers'
  /** Material that never hangs together with the plate or a support. */
  | 'floatingPart'
  /** Material that begins in the air and is taken later by what is held. */
  | 'island'
  /** Material too far from what carries it. */
  | 'overhang'
  /** Material in the first or last column or row of the screen. */
  | 'screenEdge'
  /** A cavity without an opening. */
  | 'resinTrap'
  /** A cavity that is open towards the film alone while it is printed. */
  | 'suctionCup'
  /** Small things that float, all of a print. */
  | 'specks'
  /** Support points that touch no material, all of a print. */
  | 'idlePoints';

/** `fails`: what is printed is lost or useless; `risk`: it may go wrong; `note`: good to know. */
export type Severity = 'fails' | 'risk' | 'note';

/** Something wrong with a print: one for each cause, without what follows from it. */
export interface Finding {
  kind: FindingKind;
  severity: Severity;
  /** What is wrong, for people; no capital, no full stop. */
  what: string;
  /** What to do about it, a sentence. */
  remedy: string;
  /** Counted from 0, the layer on the plate; both among them. */
  firstLayer: number;
  lastLayer: number;
  /** A pixel of the screen in it, and its middle in mm; none for empty layers and points. */
  place?: { layer: number; column: number; row: number; x: number; y: number; z: number };
  /** mm, around all of it; none for empty layers and points. */
  box?: Box;
  /** Of a floating part, the islands that it begins with; of specks and points, how many; else 1. */
  count: number;
  /** mm3 of material; of a cavity, of resin; 0 where there is none to tell. */
  volume: number;
  /** mm2 of its largest piece in a layer; of a cavity, of its opening to the film; 0 where there is none. */
  area: number;
  /** Of an island: the layer in which it is taken. */
  takenIn?: number;
}

export interface CheckReport {
  layers: number;
  /** mm3 of material. */
  volume: number;
  /** How many findings there are; of more than 1,000 of a kind, some are not listed. */
  counts: Record<Severity, number>;
  /** Those that fail first, then bottom first. */
  findings: Finding[];
}

/** A pixel of the screen in a layer. */
export interface CheckPoint {
  layer: number;
  column: number;
  row: number;
}

/** A slicer of a mesh or of a printer file. */
export interface CheckedLayers extends LayerSource {
  /** Screen column and row of the layers' first pixel; 0 unless set. */
  readonly cropX?: number;
  readonly cropY?: number;
  /**
   * mm: the screen's outer corner at column 0, row 0. Unless set, x is 0 at the left and y is 0 at the
   * front of the plate.
   */
  readonly originX?: number;
  readonly originY?: number;
}

export interface CheckOptions extends LayerHeights {
  /** mm, of a pixel; pixelHeight is pixelWidth unless set. */
  pixelWidth: number;
  pixelHeight?: number;
  /** Pixels. */
  screenWidth: number;
  screenHeight: number;
  /**
   * How a layer shows the plate, see PrinterFile; as seen from above unless set. Not for layers with an
   * origin of their own.
   */
  turned?: boolean;
  mirroredX?: boolean;
  mirroredY?: boolean;
  /** mm, z of the plate; 0 unless set. */
  plateZ?: number;
  /**
   * mm between the plate and a lifted part, where its points stand and the layers may be empty; 0, for a
   * part that lies on the plate, unless set.
   */
  lift?: number;
  /** The supports of layers that show none. */
  points?: Iterable<CheckPoint>;
  /** Degrees between the plate and a surface that just carries itself; default 45. */
  criticalAngle?: number;
  /** mm from what carries it, beyond which an overhang is at risk, and fails; default 4 and 6. */
  nearReach?: number;
  farReach?: number;
  /** mm that an island may grow before something takes it; default 0.2. */
  islandHeight?: number;
  /** Called about ten times a second. */
  progress?: (layers: number, total: number) => void;
  signal?: AbortSignalLike;
}

/** A finding in pixels of the layers; without left there is no place to tell. */
interface NativeFinding extends Omit<Finding, 'place' | 'box'> {
  left?: number;
  right: number;
  top: number;
  bottom: number;
  layer: number;
  column: number;
  row: number;
}

/** A print under check. */
interface NativeCheck {
  /** Takes layers from `first` on, some at a time. Resolves to how many. */
  add(slicer: LayerSource, first: number): Promise<number>;
  finish(): Promise<Omit<CheckReport, 'findings'> & { findings: NativeFinding[] }>;
}

interface NativeCheckOptions
  extends Pick<
    CheckOptions,
    | 'layerHeight'
    | 'firstLayerHeight'
    | 'pixelWidth'
    | 'screenWidth'
    | 'screenHeight'
    | 'criticalAngle'
    | 'nearReach'
    | 'farReach'
    | 'islandHeight'
  > {
  pixelHeight: number;
  cropX: number;
  cropY: number;
  liftedLayers: number;
}

interface CheckBinding {
  /** points: layer, column and row of each, of the layers. */
  PrintCheck: new (
    options: NativeCheckOptions,
    points?: Uint32Array,
  ) => NativeCheck;
}

/**
 * Tells what will go wrong with a print, off the main thread and on all cores. The same findings for
 * any number of workers.
 *
 * Rejects with a TypeError or a RangeError for options that are none, with the code
 * ERR_STILTFORGE_MEMORY when memory runs out, with the signal's reason when it is aborted, and with
 * what the layers reject with.
 */
export async function checkPrint(
  layers: CheckedLayers,
  options: CheckOptions,
): Promise<CheckReport> {
  requireObject(layers, 'The first argument', 'the layers of a slicer');
  requireObject(options, 'The second argument', 'options');
  const { points, progress, signal, plateZ, lift, turned, mirroredX, mirroredY, ...rest } = options;
  signal?.throwIfAborted();
  const { cropX = 0, cropY = 0, layerCount } = layers;
  const { PrintCheck } = binding<CheckBinding>();
  const check = new PrintCheck(
    {
      ...{ ...rest, pixelHeight: options.pixelHeight ?? options.pixelWidth, cropX, cropY },
      liftedLayers: liftedLayers(options),
    },
    points && packed(points, layers),
  );
  for (let done = 0; done < layerCount; ) {
    done += await abortable(check.add(layers, done), signal);
    progress?.(done, layerCount);
    signal?.throwIfAborted();
  }
  const { findings, layers: layersDone, volume, counts } = await check.finish();
  const plate = plateOf(layers, options);
  return {
    layers: layersDone,
    volume: withoutRounding(volume),
    counts,
    findings: findings.map((finding) => placed(finding, plate)),
  };
}

function liftedLayers({ lift = 0, layerHeight }: CheckOptions): number {
  if (typeof lift !== 'number' || !(lift >= 0)) {
    throw new RangeError(`The lift must be 0 mm or more, not ${lift}.`);
  }
  const layers = Math.ceil(lift / layerHeight - 0.5);
  // Of a layer height that gives none the native side has a sentence.
  return layers > 0 ? Math.min(mostLayers, layers) : 0;
}

const mostLayers = 65535;
const beyond = 65535;

/** Layer, column and row of the layers of each point; those beside the layers touch none. */
function packed(points: Iterable<CheckPoint>, layers: CheckedLayers): Uint32Array {
  const { cropX = 0, cropY = 0, width, height } = layers;
  const numbers: number[] = [];
  for (const point of points) {
    requireObject(point, `Point ${numbers.length / 3} (counted from 0)`, 'layer, column and row');
    const { layer, column, row } = point;
    const x = column - cropX;
    const y = row - cropY;
    if (![layer, x, y].every(Number.isInteger)) {
      throw new TypeError(
        'The layer, column and row of a point must be whole numbers, not ' +
          `${layer}, ${column} and ${row}.`,
      );
    }
    const isInside = x >= 0 && x < width && y >= 0 && y < height && layer >= 0;
    const level = Math.min(Math.max(layer, 0), beyond);
    numbers.push(level, isInside ? x : beyond, isInside ? y : beyond);
  }
  return Uint32Array.from(numbers);
}

interface Plate {
  /** mm: corners of pixels of the screen. */
  at(column: number, row: number): [x: number, y: number];
  /** mm: the lower face of a layer. */
  z(layer: number): number;
  cropX: number;
  cropY: number;
}

function plateOf(layers: CheckedLayers, options: CheckOptions): Plate {
  const { pixelWidth, pixelHeight = pixelWidth, screenWidth, screenHeight } = options;
  const { plateZ = 0, turned, mirroredX, mirroredY } = options;
  const { originX = 0, originY = screenHeight * pixelHeight, cropX = 0, cropY = 0 } = layers;
  return {
    at: (column, row) => {
      const across = mirroredX ? screenWidth - column : column;
      const down = mirroredY ? screenHeight - row : row;
      return turned
        ? [(screenHeight - down) * pixelHeight, (screenWidth - across) * pixelWidth]
        : [originX + across * pixelWidth, originY - down * pixelHeight];
    },
    z: (layer) => plateZ + bottomOfLayer(options, layer),
    cropX,
    cropY,
  };
}

function placed(finding: NativeFinding, plate: Plate): Finding {
  const { left, right, top, bottom, layer, column, row, volume, area, ...rest } = finding;
  const told = { ...rest, volume: withoutRounding(volume), area: withoutRounding(area) };
  if (left === undefined || finding.kind === 'idlePoints') return told;
  const at = (x: number, y: number) => plate.at(plate.cropX + x, plate.cropY + y);
  const corners = [at(left, top), at(right + 1, bottom + 1)];
  const xs = corners.map(([x]) => x);
  const ys = corners.map(([, y]) => y);
  const [x, y] = at(column + 0.5, row + 0.5);
  return {
    ...told,
    place: {
      layer,
      column: plate.cropX + column,
      row: plate.cropY + row,
      x: rounded(x),
      y: rounded(y),
      z: rounded(plate.z(layer)),
    },
    box: {
      min: [rounded(Math.min(...xs)), rounded(Math.min(...ys)), rounded(plate.z(told.firstLayer))],
      max: [
        rounded(Math.max(...xs)),
        rounded(Math.max(...ys)),
        rounded(plate.z(told.lastLayer + 1)),
      ],
    },
  };
}

/** To the micrometre: beyond it are only the digits of binary fractions. */
function rounded(millimetres: number): number {
  return Math.round(1000 * millimetres) / 1000;
}

/** Sums of pixels have no more digits than that. */
function withoutRounding(value: number): number {
  return Number(value.toPrecision(12));
}
