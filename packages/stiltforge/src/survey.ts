import { binding } from './binding.js';
import { AnalysisError, fromNative } from './errors.js';
import type {
  FinishedSupports,
  FinishOptions,
  JudgeOptions,
  Place,
  SurveyOptions,
  Verdict,
} from './hold.js';
import type { LayerSource } from './layer_source.js';
import { type SliceImage, slicePixels } from './slice_image.js';
import { isSliceRuns, type SliceRuns } from './slice_runs.js';
import { type AbortSignalLike, abortable, following } from './waiting.js';

/** A point of a slice. */
export interface PointOnSlice {
  /** Column and row. */
  x: number;
  y: number;
  /** Meant for an island. */
  isIsland?: boolean;
}

/** A point of a stack: its layer counts from 0. */
export type PointInStack = PointOnSlice & Pick<Place, 'layer'>;

/** A part with given points. Refuses and rejects like NativeModel. */
interface NativeSurvey {
  /** Not of shared memory. The promises resolve to the number of layers so far. */
  addPixels(
    pixels: ArrayBuffer | Uint8Array | Uint8ClampedArray,
    points: readonly PointOnSlice[],
  ): Promise<number>;
  addRuns(runs: SliceRuns, points: readonly PointOnSlice[]): Promise<number>;
  /** As many layers of a Slicer, from `first` on, as there are lists of points. */
  addSlicer(
    slicer: LayerSource,
    first: number,
    points: readonly (readonly PointOnSlice[])[],
  ): Promise<number>;
  judge(options: JudgeOptions): Promise<Verdict>;
  finish(options: FinishOptions): Promise<FinishedSupports>;
}

interface SurveyBinding {
  Survey: new (width: number, height: number, options: SurveyOptions) => NativeSurvey;
}

/** Layers of a slicer that are handed over at once. */
const layersAtOnce = 32;

/**
 * Judges, or finishes, any points of a part, wherever they come from: no analysis is made. For those of
 * an analysis see the option `survey` of Analysis.create().
 *
 * ```js
 * const survey = Survey.create({ width, height, pixelSize: 0.05, layerHeight: 0.05 });
 * for (const { slice, points } of layers) await survey.add(slice, points);
 * const { islands, overhang } = await survey.judge();
 * ```
 */
export class Survey {
  readonly #width: number;
  readonly #height: number;
  readonly #survey: NativeSurvey;

  private constructor(width: number, height: number, survey: NativeSurvey) {
    this.#width = width;
    this.#height = height;
    this.#survey = survey;
  }

  /** width, height: pixels of the slices. Throws an AnalysisError when an option is wrong. */
  static create(options: SurveyOptions & { width: number; height: number }): Survey {
    const { width, height, ...rest } = Object(options) as typeof options;
    return new Survey(
      width,
      height,
      refusing(() => new (binding<SurveyBinding>().Survey)(width, height, rest)),
    );
  }

  /**
   * Takes the next slice, bottom first, with its points. Both are read before this returns; calls need
   * not wait for each other. Once one has failed all that follow do.
   */
  async add(slice: SliceImage | SliceRuns, points: readonly PointOnSlice[] = []): Promise<void> {
    await refusing(() =>
      isSliceRuns(slice)
        ? this.#survey.addRuns(slice, points)
        : this.#survey.addPixels(slicePixels(slice, this.#width, this.#height), points),
    ).catch(rejected);
  }

  /** Takes all layers of a slicer, with points in any order. */
  async addLayers(
    slicer: LayerSource,
    points: readonly PointInStack[] = [],
    { signal }: { signal?: AbortSignalLike } = {},
  ): Promise<void> {
    const byLayer = pointsByLayer(points, slicer.layerCount);
    for (let first = 0; first < slicer.layerCount; first += layersAtOnce) {
      signal?.throwIfAborted();
      const lists = byLayer.slice(first, first + layersAtOnce);
      await refusing(() => this.#survey.addSlicer(slicer, first, lists)).catch(rejected);
    }
  }

  /** What the points hold. No slice may follow; may be asked again, with other options. */
  async judge(options: JudgeOptions = {}): Promise<Verdict> {
    return refusing(() => this.#survey.judge(options)).catch(rejected);
  }

  /** The points that an experienced person would leave, and add. No slice may follow. */
  async finish(options: FinishOptions = {}): Promise<FinishedSupports> {
    const signal = options?.signal;
    signal?.throwIfAborted();
    const finished = following(signal, (follower) =>
      this.#survey.finish(follower ? { ...options, signal: follower } : options),
    );
    return abortable(finished.catch(rejected), signal);
  }
}

function pointsByLayer(points: readonly PointInStack[], layers: number): PointOnSlice[][] {
  const lists: PointOnSlice[][] = Array.from({ length: layers }, () => []);
  points.forEach((point, i) => {
    const { layer } = Object(point) as PointInStack;
    if (!(Number.isInteger(layer) && layer >= 0 && layer < layers)) {
      throw new AnalysisError(
        'ERR_STILTFORGE_PARAMETER',
        `layer of point ${i} is ${String(layer)}, not a whole number from 0 to ${layers - 1}.`,
      );
    }
    lists[layer].push(point);
  });
  return lists;
}

function rejected(error: unknown): never {
  throw fromNative(error);
}

function refusing<T>(start: () => T): T {
  try {
    return start();
  } catch (error) {
    throw fromNative(error);
  }
}
