// What the declarations of this module need, so that a program may do without the types of Node.
/// <reference lib="es2018.asyncgenerator" preserve="true" />
/// <reference lib="esnext.disposable" preserve="true" />

import type { AnalysisParameters, Bytes, SliceResult } from 'stiltforge';
import { AnalysisError, fromNative } from './errors.js';
import type {
  FinishedSupports,
  FinishOptions,
  JudgeOptions,
  SurveyOptions,
  Verdict,
} from './hold.js';
import { isLayerSource, type LayerSource } from './layer_source.js';
import { createModel, type NativeModel } from './native_model.js';
import { checkedParameters } from './parameters.js';
import { type SliceImage, slicePixels } from './slice_image.js';
import { isSliceMask, type SliceMask } from './slice_mask.js';
import { isSliceRuns, type SliceRuns } from './slice_runs.js';
import { type AbortSignalLike, abortable, following, ignoreUntilAwaited } from './waiting.js';

export type {
  AnalysisParameters,
  Bytes,
  Group,
  Layer,
  SliceResult,
  Support,
} from 'stiltforge';
export { AnalysisError, type AnalysisErrorCode } from './errors.js';
export type {
  DroppedSupport,
  FinishedSupport,
  FinishedSupports,
  FinishOptions,
  IslandVerdict,
  JudgeOptions,
  Place,
  RegionRecord,
  Surface,
  SurveyOptions,
  Verdict,
} from './hold.js';
export type { LayerSource } from './layer_source.js';
export {
  estimateMemory,
  type MemoryEstimate,
  type ModelExpectation,
  type ModelSize,
} from './memory_estimate.js';
export { type ParameterRow, parameterTable } from './parameters.js';
export type { ImageLike, SliceImage } from './slice_image.js';
export type { SliceMask } from './slice_mask.js';
export type { Overhang, RunArrays, SliceRuns } from './slice_runs.js';
export { type PointInStack, type PointOnSlice, Survey } from './survey.js';
export type { AbortSignalLike } from './waiting.js';

/** The images that groupImages() renders, in the addon's order. */
export const groupImageNames = [
  'sample',
  'ghost',
  'angle',
  'score',
  'scoreSupport',
  'support',
  'stroke',
  'combined',
] as const;

export type GroupImageName = (typeof groupImageNames)[number];

/** The sampling state of a group as images of its bounding box, width * height * 4 bytes of RGBA each. */
export interface GroupImages {
  /** Pixels. */
  width: number;
  /** Pixels. */
  height: number;
  /**
   * `sample`: white where a support may stand. `ghost`, `angle`, `stroke`: the terms of the score, in
   * red, blue, green; `combined` shows the three. `score`: red, dark where a support is needed most;
   * `scoreSupport` and `support` mark the supports.
   */
  images: Record<GroupImageName, Bytes>;
}

export interface AnalysisOptions {
  /**
   * Keeps of the part what judgeSupports() and finishSupports() need, in memory that follows its
   * contours and overhangs and is not part of estimateMemory(), and in about the time of the analysis
   * once more. Results stay the same.
   */
  survey?: SurveyOptions;
}

export interface RunOptions {
  /** Ends the wait with the signal's reason. A slice that was handed over is still analysed and counts. */
  signal?: AbortSignalLike;
}

/** A slice as a picture with its channels, as runs, or as a mask of which a slicer makes them. */
export type SliceInput = SliceImage | SliceRuns | SliceMask;

/** Slices, bottom first. An asynchronous source may prepare them while earlier ones are analysed. */
export type SliceSource = AsyncIterable<SliceInput> | Iterable<SliceInput>;

/** Node knows the symbol from 20.4 on; programs compiled for an older one look under this name. */
const asyncDispose: typeof Symbol.asyncDispose =
  Symbol.asyncDispose ?? Symbol.for('Symbol.asyncDispose');

/**
 * The analysis of one model. A process may have many at once, in all its threads; they take turns on the
 * threads of Node's pool.
 *
 * ```js
 * await using analysis = Analysis.create(parameters);
 * for await (const result of analysis.run(slices)) console.log(result.layer.groups);
 * ```
 */
export class Analysis {
  readonly parameters: Readonly<AnalysisParameters>;
  readonly #model: NativeModel;
  #slices = 0;
  #closed: Promise<void> | undefined;
  /** Outcomes of what runs took from their sources, in order; undefined for the end. */
  #taken: Promise<SliceResult[] | undefined>[] = [];
  /** Results of the first of them that no run has delivered yet. */
  #ready: SliceResult[] = [];
  #running = false;

  private constructor(parameters: Readonly<AnalysisParameters>, model: NativeModel) {
    this.parameters = parameters;
    this.#model = model;
  }

  /**
   * Starts a model. Throws an AnalysisError when a parameter or an option is wrong or memory is
   * short.
   */
  static create(parameters: AnalysisParameters, { survey }: AnalysisOptions = {}): Analysis {
    const checked = checkedParameters(parameters);
    try {
      return new Analysis(checked, createModel(checked, survey));
    } catch (error) {
      throw fromNative(error);
    }
  }

  /** Number of slices that were handed to the analysis so far. */
  get sliceCount(): number {
    return this.#slices;
  }

  /**
   * Analyses the next slice of the model, bottom first: a picture, its runs or a mask, which are read
   * before this returns. Calls need not wait for each other: slices are analysed one at a time, in the order of
   * the calls.
   */
  async analyse(slice: SliceInput, { signal }: RunOptions = {}): Promise<SliceResult> {
    signal?.throwIfAborted();
    return abortable(this.#handOver(slice), signal);
  }

  /**
   * Analyses a whole stack, yielding the result of each slice in order. While a slice is analysed the
   * source is asked for the next one, which is then analysed while the result is with the caller; an
   * array has its slices ready, so none is taken from it ahead. Ends the source when the caller stops
   * early. Of a slicer, layers from `sliceCount` on are sliced and analysed natively, some at a time.
   *
   * A run that is left early, by `break` or by an abort, may be followed by another one. Slices that it
   * had taken from its source are analysed all the same: they count in `sliceCount`, and their results
   * are the first of the next run. So that run's source goes on with slice `sliceCount`.
   */
  async *run(
    slices: SliceSource | LayerSource,
    { signal }: RunOptions = {},
  ): AsyncGenerator<SliceResult, void, void> {
    const source = isLayerSource(slices) ? this.#layersOf(slices) : this.#slicesOf(slices);
    this.#beginRun();
    try {
      while (this.#ready.length > 0 || this.#taken.length > 0) {
        await this.#deliver(signal);
        yield* this.#results();
      }
      let taken: Promise<boolean> | undefined;
      for (;;) {
        signal?.throwIfAborted();
        taken ??= source.take();
        const isTaken = await abortable(taken, signal);
        taken = isTaken && source.readsAhead ? source.take() : undefined;
        if (!(await this.#deliver(signal))) return;
        yield* this.#results();
      }
    } finally {
      this.#running = false;
      const ended = source.end();
      ignoreUntilAwaited(ended);
      // A source that is stuck in next() would keep an aborted run from ending.
      if (!signal?.aborted) await ended;
    }
  }

  /**
   * Renders one group of an analysed slice.
   * @param layer index of the slice in the order of analysis, from 0
   * @param group index of the group in the slice's `layer.groups`, from 0
   */
  async groupImages(
    layer: number,
    group: number,
    { signal }: RunOptions = {},
  ): Promise<GroupImages> {
    signal?.throwIfAborted();
    const { width, height, images } = await abortable(
      this.#job(() => this.#model.groupImages(layer, group)),
      signal,
    );
    const named = groupImageNames.map((name, i) => [name, images[i]]);
    return { width, height, images: Object.fromEntries(named) };
  }

  /**
   * What each slice analysed so far was owed: pixels that nothing held before its own supports, summed
   * over its groups. 0 for the first slice, which lies on the plate, and without `addSupport`.
   */
  async owedPixels({ signal }: RunOptions = {}): Promise<Float64Array> {
    signal?.throwIfAborted();
    return abortable(
      this.#job(() => this.#model.owedPixels()),
      signal,
    );
  }

  /**
   * What the supports of the slices so far hold. Needs the option `survey`; no slice may follow, and it
   * may be asked again, with other options.
   */
  async judgeSupports(options: JudgeOptions = {}): Promise<Verdict> {
    return this.#job(() => this.#model.judge(options));
  }

  /**
   * Makes of the supports of the slices so far what an experienced person would leave: none where no
   * support fits, one for specks that grow together, some where overhang would be left alone. Needs
   * the option `survey`; no slice may follow, and it may be asked again, with other options.
   */
  async finishSupports(options: FinishOptions = {}): Promise<FinishedSupports> {
    const signal = options?.signal;
    signal?.throwIfAborted();
    return abortable(
      this.#job(() =>
        following(signal, (follower) =>
          this.#model.finish(follower ? { ...options, signal: follower } : options),
        ),
      ),
      signal,
    );
  }

  /**
   * Waits for the work in hand and frees the model. May be called twice, and again after it failed: the
   * analysis is open until then.
   */
  close(): Promise<void> {
    this.#closed ??= this.#close();
    return this.#closed;
  }

  [asyncDispose](): Promise<void> {
    return this.close();
  }

  async #close(): Promise<void> {
    try {
      await this.#model.close();
    } catch (error) {
      this.#closed = undefined;
      throw fromNative(error);
    }
  }

  #beginRun(): void {
    if (this.#running) {
      throw new AnalysisError(
        'ERR_STILTFORGE_BUSY',
        'Another run() of this analysis has not ended, and slices are analysed in one order. Let it' +
          ' end or leave it, by break or return(), before the next one.',
      );
    }
    this.#running = true;
  }

  /** Takes what the source gives next. A slice is handed on as soon as it comes, even if the run is left. */
  #slicesOf(slices: SliceSource): RunSource {
    const iterator = iterate(slices);
    return {
      readsAhead: !Array.isArray(slices),
      take: () =>
        this.#take(
          Promise.resolve()
            .then(() => iterator.next())
            .then((next) =>
              next.done ? undefined : { results: this.#handOver(next.value).then(oneOf) },
            ),
        ),
      end: async () => {
        await iterator.return?.();
      },
    };
  }

  /** Takes some layers when those before are done: only then it is known which come next. */
  #layersOf(slicer: LayerSource): RunSource {
    const nextLayers = () =>
      this.#slices < slicer.layerCount ? { results: this.#handOverLayers(slicer) } : undefined;
    return {
      readsAhead: true,
      take: () => this.#take(Promise.allSettled(this.#taken.slice(-1)).then(nextLayers)),
      end: async () => {},
    };
  }

  /**
   * Notes the outcome of what a source gives. Resolves to whether there was anything that could be
   * handed over.
   */
  #take(handedOver: Promise<{ results: Promise<SliceResult[]> } | undefined>): Promise<boolean> {
    const results = handedOver.then((taken) => taken?.results);
    ignoreUntilAwaited(results);
    this.#taken.push(results);
    return handedOver.then(
      (taken) => taken !== undefined,
      () => false,
    );
  }

  /**
   * Makes the results of the first outcome ready; it stays the first if the wait is aborted. Resolves to
   * false at the end of the source.
   */
  async #deliver(signal: AbortSignalLike | undefined): Promise<boolean> {
    if (this.#ready.length > 0) return true;
    const [outcome] = this.#taken;
    await abortable(Promise.allSettled([outcome]), signal);
    this.#taken.shift();
    const results = await outcome;
    this.#ready = results ?? [];
    return results !== undefined;
  }

  *#results(): Generator<SliceResult, void, void> {
    for (let next = this.#ready.shift(); next; next = this.#ready.shift()) yield next;
  }

  /** Queues the next slice. Throws when it is refused: it is none of the model's then. */
  #handOver(slice: SliceInput): Promise<SliceResult> {
    const { width, height } = this.parameters;
    const result = this.#job(() => {
      if (isSliceRuns(slice)) return this.#model.analyseRuns(slice);
      if (isSliceMask(slice)) return this.#model.analyseMask(slice.slicer, slice.mask);
      return this.#model.analysePixels(slicePixels(slice, width, height));
    });
    this.#slices += 1;
    return result;
  }

  /** The same for layers of a slicer, which count when they are done. */
  #handOverLayers(slicer: LayerSource): Promise<SliceResult[]> {
    const layers = this.#job(() => this.#model.analyseSlicer(slicer, this.#slices));
    return layers.then((results) => {
      this.#slices += results.length;
      return results;
    });
  }

  #job<T>(start: () => Promise<T>): Promise<T> {
    if (this.#closed) {
      throw new AnalysisError('ERR_STILTFORGE_CLOSED', 'The analysis is closed. Create a new one.');
    }
    const failed = (error: unknown): never => {
      throw fromNative(error);
    };
    try {
      return start().catch(failed);
    } catch (error) {
      return failed(error);
    }
  }
}

/** What a run takes its slices from. */
interface RunSource {
  /** Whether the next slice is asked for while one is analysed. */
  readsAhead: boolean;
  /** Takes and hands over what comes next. Resolves to whether there was anything that could be. */
  take(): Promise<boolean>;
  end(): Promise<void>;
}

const oneOf = (result: SliceResult): SliceResult[] => [result];

type SliceIterator = AsyncIterator<SliceInput> | Iterator<SliceInput>;

function iterate(slices: SliceSource): SliceIterator {
  // A program without types may pass anything.
  const source = Object(slices) as Partial<AsyncIterable<SliceInput> & Iterable<SliceInput>>;
  const iterator = source[Symbol.asyncIterator]?.() ?? source[Symbol.iterator]?.();
  if (iterator) return iterator;
  throw new AnalysisError(
    'ERR_STILTFORGE_SLICE',
    'run() takes an array, a generator or another iterable of slices, bottom first, or a slicer. For a' +
      ' single slice there is analyse().',
  );
}
