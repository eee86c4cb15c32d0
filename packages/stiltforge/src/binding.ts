import type { AnalysisParameters, Bytes, SliceResult } from 'stiltforge';
import type { CheckOptions, CheckReport, Finding } from './check.js';
import { fromNative } from './errors.js';
import type { FileSource } from './file_source.js';
import type {
  FinishedSupports,
  FinishOptions,
  JudgeOptions,
  SurveyOptions,
  Verdict,
} from './hold.js';
import type { LayerSource } from './layer_source.js';
import type { MemoryEstimate, ModelSize } from './memory_estimate.js';
import { loadBinding } from './native_binding.js';
import type { OrientOptions, OrientResult, Turn } from './orientation.js';
import type { PrintSettings, SettingConflict, SupportSettings } from './print.js';
import type { LayerSlicer, LayerSlicerOptions, OpenOptions, PrinterFile } from './printer_file.js';
import type {
  NativeScaffoldOptions,
  Scaffold,
  ScaffoldConflict,
  ScaffoldSettings,
} from './scaffold.js';
import type { SliceRuns } from './slice_runs.js';
import type {
  MaskSlicer,
  MaskSlicerOptions,
  MeshFile,
  ReadMeshOptions,
  Slicer,
  SlicerOptions,
  Triangles,
} from './slicing.js';
import type { AbortSignalLike } from './waiting.js';

/** A row of the table of parameters, which the native side keeps. */
export interface ParameterRow {
  name: keyof AnalysisParameters;
  kind: 'flag' | 'integer' | 'number';
  /** Numbers outside least to most make no sense. */
  least: number;
  most: number;
  /** None for the size. */
  default?: number | boolean;
  unit: string;
  /** One sentence without a full stop. */
  summary: string;
}

/**
 * A model under analysis. What can't be done at all throws, and nothing is changed; what fails at work
 * rejects. Once a slice has failed all that follow do. Errors carry a code.
 */
export interface NativeModel {
  /** Not of shared memory. */
  analysePixels(pixels: ArrayBuffer | Uint8Array | Uint8ClampedArray): Promise<SliceResult>;
  analyseRuns(runs: SliceRuns): Promise<SliceResult>;
  /** Makes the next slice of the slicer of a mask, which is copied, and analyses it. */
  analyseMask(slicer: MaskSlicer, mask: Uint8Array): Promise<SliceResult>;
  /**
   * Layers of a Slicer from `first` on: as many as are analysed in a short time, but not more than
   * `most`; with buffers one.
   */
  analyseSlicer(slicer: LayerSource, first: number, most?: number): Promise<SliceResult[]>;
  /** Both counted from 0; eight images. */
  groupImages(
    layer: number,
    group: number,
  ): Promise<{ width: number; height: number; images: Bytes[] }>;
  /** Of each layer analysed so far, the pixels that nothing held before its own supports. */
  owedPixels(): Promise<Float64Array>;
  /** Of a model with a survey; no slice may follow. */
  judge(options: JudgeOptions): Promise<Verdict>;
  finish(options: FinishOptions): Promise<FinishedSupports>;
  /** Frees the model when all jobs before are done. May be called again. */
  close(): Promise<void>;
}

/** Weights are plain options here. */
export interface NativeOrientOptions
  extends Omit<OrientOptions, 'weights' | 'progress' | 'signal'> {
  pointsWeight: number;
  overhangWeight: number;
  islandsWeight: number;
  heightWeight: number;
  cupsWeight: number;
  marksWeight: number;
  /** Called where the search blocks the host, which can't ask for its progress then. */
  listener?: (done: number, total: number) => void;
}

interface NativePoint {
  x: number;
  y: number;
  isIsland?: boolean;
}

/** A part with given points. Refuses and rejects like NativeModel. */
export interface NativeSurvey {
  /** Not of shared memory. The promises resolve to the number of layers so far. */
  addPixels(
    pixels: ArrayBuffer | Uint8Array | Uint8ClampedArray,
    points: readonly NativePoint[],
  ): Promise<number>;
  addRuns(runs: SliceRuns, points: readonly NativePoint[]): Promise<number>;
  /** As many layers of a Slicer, from `first` on, as there are lists of points. */
  addSlicer(
    slicer: LayerSource,
    first: number,
    points: readonly (readonly NativePoint[])[],
  ): Promise<number>;
  judge(options: JudgeOptions): Promise<Verdict>;
  finish(options: FinishOptions): Promise<FinishedSupports>;
}

/** A finding in pixels of the layers; without left there is no place to tell. */
export interface NativeFinding extends Omit<Finding, 'place' | 'box'> {
  left?: number;
  right: number;
  top: number;
  bottom: number;
  layer: number;
  column: number;
  row: number;
}

/** A print under check. */
export interface NativeCheck {
  /** Takes layers from `first` on, some at a time. Resolves to how many. */
  add(slicer: LayerSource, first: number): Promise<number>;
  finish(): Promise<Omit<CheckReport, 'findings'> & { findings: NativeFinding[] }>;
}

export interface NativeCheckOptions
  extends Pick<
    CheckOptions,
    | 'layerHeight'
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

/** What src/binding exports, be it as binding.node or in WebAssembly. */
export interface Binding {
  Model: new (parameters: Readonly<AnalysisParameters>, survey?: SurveyOptions) => NativeModel;
  Survey: new (width: number, height: number, options: SurveyOptions) => NativeSurvey;
  Slicer: new (options: SlicerOptions) => Slicer;
  MaskSlicer: new (options: MaskSlicerOptions) => MaskSlicer;
  /** points: layer, column and row of each, of the layers. */
  PrintCheck: new (
    options: NativeCheckOptions,
    points?: Uint32Array,
  ) => NativeCheck;
  LayerSlicer: new (file: PrinterFile, options: LayerSlicerOptions) => LayerSlicer;
  openPrinterFile(source: FileSource, options?: OpenOptions): Promise<PrinterFile>;
  isPrinterFile(source: FileSource, name?: string): boolean;
  readMesh(source: FileSource, options?: ReadMeshOptions): Promise<MeshFile>;
  analysisParameters(
    settings: PrintSettings & SupportSettings,
    slices: { width: number; height: number; layerCount: number },
  ): AnalysisParameters;
  findSettingConflict(settings: PrintSettings & SupportSettings): SettingConflict | undefined;
  /** Throws for options that are none; the result rejects for what fails at work. */
  startOrientation(options: NativeOrientOptions): {
    result: Promise<OrientResult>;
    progress(): [done: number, total: number];
    cancel(): void;
  };
  buildScaffold(options: NativeScaffoldOptions, signal?: AbortSignalLike): Promise<Scaffold>;
  findScaffoldConflict(settings: ScaffoldSettings, lift: number): ScaffoldConflict | undefined;
  turnMesh(positions: Triangles, turn: Readonly<Turn>): Triangles;
  estimateMemory(model: ModelSize): MemoryEstimate;
  parameterTable: readonly Readonly<ParameterRow>[];
  /** What the analysis does to many pixels at once on this processor: "avx2", "plain". */
  vectorPath: string;
}

let loaded: Binding | undefined;

/** Loads it when it is first needed: importing this module never fails. Throws an AnalysisError. */
export function binding(): Binding {
  try {
    loaded ??= loadBinding();
    return loaded;
  } catch (error) {
    throw fromNative(error);
  }
}
