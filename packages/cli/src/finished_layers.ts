import { Analysis, type AnalysisParameters, type SliceResult } from 'stiltforge/analysis';
import type {
  LayerHeights,
  LayerSlicer,
  PrintSettings,
  Slicer,
  SupportSettings,
} from 'stiltforge/slicing';
import type { UserError } from './errors.js';
import { analysedPart, finishedPart, type HeldPart } from './held_part.js';
import { Tally } from './tally.js';

export interface LayersVisitor {
  signal?: AbortSignal;
  /** So many layers are analysed. */
  layers?(done: number): void;
  /** Each layer, from 0. */
  layer?(result: SliceResult, index: number): void;
  /** The points are finished, and the analysis is still open. */
  finished?(analysis: Analysis, part: HeldPart, tally: Tally): Promise<void>;
}

export interface FinishedLayers {
  part: HeldPart;
  tally: Tally;
  /** Of each layer, pixels that nothing held before its own supports. */
  owedPixels: Float64Array;
}

/** Analyses all layers and finishes the points. `empty` is thrown where no layer has material. */
export async function finishLayers(
  slicer: Slicer | LayerSlicer,
  parameters: AnalysisParameters,
  job: { print: PrintSettings & LayerHeights; support: SupportSettings; asAnalysed?: boolean },
  visitor: LayersVisitor,
  empty: () => UserError,
): Promise<FinishedLayers> {
  const { signal } = visitor;
  const { print, support } = job;
  const { pixelSize, layerHeight, firstLayerHeight } = print;
  const { criticalAngle, minimumHeight, supportArea } = support;
  const survey = {
    ...{ pixelSize, layerHeight, firstLayerHeight },
    ...{ criticalAngle, minimumHeight, supportArea },
  };
  const tally = new Tally();
  const analysis = Analysis.create(parameters, { survey });
  try {
    for await (const result of analysis.run(slicer, { signal })) {
      visitor.layer?.(result, tally.layers.length);
      tally.add(result);
      visitor.layers?.(tally.layers.length);
    }
    if (tally.materialPixels === 0) throw empty();
    const part = await (job.asAnalysed ? analysedPart : finishedPart)(
      analysis,
      print,
      support,
      signal,
    );
    signal?.throwIfAborted();
    await visitor.finished?.(analysis, part, tally);
    return { part, tally, owedPixels: await analysis.owedPixels() };
  } finally {
    await analysis.close();
  }
}
