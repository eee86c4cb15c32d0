import type { AnalysisParameters } from 'stiltforge';
import { binding } from './binding.js';
import { checkedParameters } from './parameters.js';

/** What is known or expected of a model before it is analysed; expect rather too much. */
export interface ModelSize {
  /** Pixels. */
  width: number;
  /** Pixels. */
  height: number;
  layers: number;
  /** Default: false. */
  needBuffer?: boolean;
  /** Pixels. Default: 0. */
  ghostRadius?: number;
  /** Slices handed over and not yet analysed, at any one time. Default: 1. */
  queuedSlices?: number;
  /** Results with buffers that the host keeps. Default: 0. */
  heldResults?: number;
  /** In the layers with the most. Default: 20. */
  regionsPerLayer?: number;
  /** In the whole model. Default: 0. */
  supports?: number;
  /** Unsupported pixels of a region for each support that it gets: `supportStrength`. Default: 0. */
  pixelsPerSupport?: number;
  /** Share of a layer's pixels that is unsupported, in the layer with the most. Default: 0.1. */
  unsupportedShare?: number;
  /** Most supports from below that a region remembers: `maxGhost`. Default: 10,000. */
  ghostsPerRegion?: number;
}

/** Bytes that an analysis takes at its peak, beyond the process and the host's own slices. */
export interface MemoryEstimate {
  total: number;
  /** Runs and overhang of the slices in hand and, with buffers, their pixels. */
  slices: number;
  /** Labels and regions of two layers. */
  regions: number;
  /** Work space of the support placement. */
  placement: number;
  /** What stays of every layer. */
  history: number;
  fixed: number;
}

/** What a host expects of a model beyond its parameters; rather too much than too little. */
export type ModelExpectation = Partial<
  Pick<
    ModelSize,
    'queuedSlices' | 'heldResults' | 'regionsPerLayer' | 'supports' | 'unsupportedShare'
  >
>;

interface MemoryBinding {
  estimateMemory(model: ModelSize): MemoryEstimate;
}

/**
 * Predicts, in bytes, what the analysis of a model takes at its peak, before it is started: an upper
 * bound unless slices are thin stripes or noise (count their runs as regions then).
 */
export function estimateMemory(
  parameters: AnalysisParameters,
  expected: ModelExpectation = {},
): MemoryEstimate {
  const { width, height, numLayer, needBuffer, ghostRadius, maxGhost, supportStrength } =
    checkedParameters(parameters);
  return binding<MemoryBinding>().estimateMemory({
    width,
    height,
    layers: numLayer,
    needBuffer,
    ghostRadius,
    ghostsPerRegion: maxGhost,
    pixelsPerSupport: supportStrength,
    queuedSlices: 2, // of run(): the one in work and the next
    ...expected,
  });
}
