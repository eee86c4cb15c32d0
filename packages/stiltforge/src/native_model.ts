import type { AnalysisParameters, Bytes, SliceResult } from 'stiltforge';
import { binding } from './binding.js';
import type {
  FinishedSupports,
  FinishOptions,
  JudgeOptions,
  SurveyOptions,
  Verdict,
} from './hold.js';
import type { LayerSource } from './layer_source.js';
import type { SliceRuns } from './slice_runs.js';
import type { MaskSlicer } from './slicing.js';

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

interface ModelBinding {
  Model: new (parameters: Readonly<AnalysisParameters>, survey?: SurveyOptions) => NativeModel;
}

/** Throws what the native side throws. */
export function createModel(
  parameters: Readonly<AnalysisParameters>,
  survey?: SurveyOptions,
): NativeModel {
  const { Model } = binding<ModelBinding>();
  return new Model(parameters, survey);
}
