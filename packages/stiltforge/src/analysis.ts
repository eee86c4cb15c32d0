// What the declarations of this module need, so that a program may do without the types of Node.
/// <reference lib="es2018.asyncgenerator" preserve="true" />
/// <reference lib="esnext.disposable" preserve="true" />

import type { AnalysisParameters, Bytes, SliceResult } from 'stiltforge';
import { AnalysisError, fromNative } from './errors.js';
import { checkedParameters } from './parameters.js';
import { isByteArray } from './realms.js';
import { type SliceImage, sliceBuffer } from './slice_image.js';
import {
  type AbortSignalLike,
  abortable,
  type Deferred,
  deferred,
  ignoreUntilAwaited,
} from './waiting.js';

export type {
  AnalysisParameters,
  Bytes,
  Group,
  Layer,
  SliceResult,
  Support,
} from 'stiltforge';
export type { ParameterRow } from './binding.js';
export { AnalysisError, type AnalysisErrorCode } from './errors.js';
export {
  estimateMemory,
  type MemoryEstimate,
  type ModelExpectation,
  type ModelSize,
} from './memory_estimate.js';
export { parameterTable } from './parameters.js';
export type { ImageLike, SliceImage } from './slice_image.js';
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

export interface RunOptions {
  /** Ends the wait with the signal's reason. A slice that was handed over is still analysed and counts. */
  signal?: AbortSignalLike;
}

/** Slices, bottom first. An asynchronous source may prepare them while earlier ones are analysed. */
export type SliceSource = AsyncIterable<SliceImage> | Iterable<SliceImage>;

/** The five functions, loaded when they are first needed: importing this module never fails. */
function addon(): typeof import('stiltforge') {
  try {
    return require('stiltforge');
  } catch (error) {
    throw fromNative(error);
  }
}

/** Node knows the symbol from 20.4 on; programs compiled for an older one look under this name. */
const asyncDispose: typeof Symbol.asyncDispose =
  Symbol.asyncDispose ?? Symbol.for('Symbol.asyncDispose');

let openAnalysis: Analysis | undefined;

/**
 * The analysis of one model. A process analyses one model at a time: close() one before the next.
 *
 * ```js
 * await using analysis = Analysis.create(parameters);
 * for await (const result of analysis.run(slices)) console.log(result.layer.groups);
 * ```
 */
export class Analysis {
  readonly parameters: Readonly<AnalysisParameters>;
  #slices = 0;
  #failure: Error | undefined;
  #closed: Promise<void> | undefined;
  #jobs = new Set<Promise<unknown>>();
  /** Outcomes of what runs took from their sources and have not delivered; undefined for the end. */
  #taken: Promise<SliceResult | undefined>[] = [];
  #running = false;

  private constructor(parameters: Readonly<AnalysisParameters>) {
    this.parameters = parameters;
  }

  /** Starts a model. Throws an AnalysisError when another one is open or a parameter is wrong. */
  static create(parameters: AnalysisParameters): Analysis {
    const checked = checkedParameters(parameters);
    if (openAnalysis) {
      throw new AnalysisError(
        'ERR_STILTFORGE_MODEL_OPEN',
        'Another Analysis is open, and a process analyses one model at a time. Close it first, or' +
          ' analyse in a child process.',
      );
    }
    try {
      addon().InitAnalyseSlice(checked);
    } catch (error) {
      throw fromNative(error);
    }
    openAnalysis = new Analysis(checked);
    return openAnalysis;
  }

  /** Number of slices that were handed to the analysis so far. */
  get sliceCount(): number {
    return this.#slices;
  }

  /**
   * Analyses the next slice of the model, bottom first. The slice is copied before this returns. Calls
   * need not wait for each other: slices are analysed one at a time, in the order of the calls.
   */
  async analyse(slice: SliceImage, { signal }: RunOptions = {}): Promise<SliceResult> {
    signal?.throwIfAborted();
    return abortable(this.#handOver(slice), signal);
  }

  /**
   * Analyses a whole stack, yielding the result of each slice in order. While a slice is analysed the
   * source is asked for the next one, which is then analysed while the result is with the caller; an
   * array has its slices ready, so none is taken from it ahead. Ends the source when the caller stops
   * early.
   *
   * A run that is left early, by `break` or by an abort, may be followed by another one. A slice that it
   * had taken from its source is analysed all the same: it counts in `sliceCount`, and its result is the
   * first of the next run. So that run's source goes on with slice `sliceCount`.
   */
  async *run(
    slices: SliceSource,
    { signal }: RunOptions = {},
  ): AsyncGenerator<SliceResult, void, void> {
    const iterator = iterate(slices);
    const readsAhead = !Array.isArray(slices);
    this.#beginRun();
    try {
      while (this.#taken.length > 0) {
        const result = await this.#deliver(signal);
        if (result) yield result;
      }
      let slice: Promise<boolean> | undefined;
      for (;;) {
        signal?.throwIfAborted();
        slice ??= this.#take(iterator);
        const taken = await abortable(slice, signal);
        slice = taken && readsAhead ? this.#take(iterator) : undefined;
        const result = await this.#deliver(signal);
        if (!result) return;
        yield result;
      }
    } finally {
      this.#running = false;
      const ended = Promise.resolve(iterator.return?.());
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
    requireIndex('layer', layer, 0xffff);
    requireIndex('group', group, 0xffff_fffe);
    const images = this.#job<GroupImages>(({ resolve, reject }) => {
      addon().GroupToBitmap(layer, group + 1, (first, ...rest) => {
        if (isByteArray(first)) resolve(namedImages(first, rest));
        else reject(fromNative(first));
      });
    });
    return abortable(images, signal);
  }

  /**
   * Waits for the work in hand and frees the model. May be called twice, and again after it failed: the
   * analysis is open until then.
   */
  close(): Promise<void> {
    this.#closed ??= this.#close().catch((error) => {
      this.#closed = undefined;
      throw fromNative(error);
    });
    return this.#closed;
  }

  [asyncDispose](): Promise<void> {
    return this.close();
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

  /**
   * Takes the next slice of the source and hands it to the analysis as soon as it comes, even if the
   * run is left until then. Resolves to whether there was one that could be taken.
   */
  #take(iterator: SliceIterator): Promise<boolean> {
    const handedOver = Promise.resolve()
      .then(() => iterator.next())
      .then((next) => (next.done ? undefined : { result: this.#handOver(next.value) }));
    const result = handedOver.then((slice) => slice?.result);
    ignoreUntilAwaited(result);
    this.#taken.push(result);
    return handedOver.then(
      (slice) => slice !== undefined,
      () => false,
    );
  }

  /** The first outcome of what was taken; it stays the first if the wait is aborted. */
  async #deliver(signal: AbortSignalLike | undefined): Promise<SliceResult | undefined> {
    const [outcome] = this.#taken;
    await abortable(Promise.allSettled([outcome]), signal);
    this.#taken.shift();
    return outcome;
  }

  async #close(): Promise<void> {
    while (this.#jobs.size > 0) await Promise.allSettled(this.#jobs);
    addon().CleanPointer();
    openAnalysis = undefined;
  }

  /** Queues the next slice. Throws when it is refused: it is none of the model's then. */
  #handOver(slice: SliceImage): Promise<SliceResult> {
    return this.#job(({ resolve, reject }) => {
      const { width, height } = this.parameters;
      const pixels = sliceBuffer(slice, width, height);
      addon().AnalyseSlice(pixels, this.#slices & 0xffff, (result) => {
        if (this.#failure) reject(afterFailure(this.#failure));
        else if ('layer' in result) resolve(result);
        else {
          this.#failure = result;
          reject(fromNative(result));
        }
      });
      this.#slices += 1;
    });
  }

  /** Starts a job whose callback settles it; close() waits for it even when the caller does not. */
  #job<T>(start: (job: Deferred<T>) => void): Promise<T> {
    if (this.#closed) {
      throw new AnalysisError('ERR_STILTFORGE_CLOSED', 'The analysis is closed. Create a new one.');
    }
    if (this.#failure) throw afterFailure(this.#failure);
    const job = deferred<T>();
    try {
      start(job);
    } catch (error) {
      throw fromNative(error);
    }
    const { promise } = job;
    this.#jobs.add(promise);
    const done = () => this.#jobs.delete(promise);
    promise.then(done, done);
    return promise;
  }
}

/** The slices above a failed one would be related to a layer that is not theirs. */
function afterFailure(failure: Error): AnalysisError {
  return new AnalysisError(
    'ERR_STILTFORGE_CLOSED',
    `An earlier slice failed (${failure.message}), so what lies above it would be wrong.` +
      ' Close this analysis and start the model again.',
    { cause: failure },
  );
}

function requireIndex(what: string, value: number, most: number): void {
  if (Number.isInteger(value) && value >= 0 && value <= most) return;
  throw new AnalysisError(
    'ERR_STILTFORGE_INDEX',
    `The ${what} index is ${value}, not a whole number from 0 to ${most}.`,
  );
}

function namedImages(first: Bytes, rest: (Bytes | number)[]): GroupImages {
  const buffers = [first, ...rest.slice(0, groupImageNames.length - 1)] as Bytes[];
  const [width, height] = rest.slice(-2) as [number, number];
  const entries = groupImageNames.map((name, i) => [name, buffers[i]]);
  return { width, height, images: Object.fromEntries(entries) };
}

type SliceIterator = AsyncIterator<SliceImage> | Iterator<SliceImage>;

function iterate(slices: SliceSource): SliceIterator {
  // A program without types may pass anything.
  const source = Object(slices) as Partial<AsyncIterable<SliceImage> & Iterable<SliceImage>>;
  const iterator = source[Symbol.asyncIterator]?.() ?? source[Symbol.iterator]?.();
  if (iterator) return iterator;
  throw new AnalysisError(
    'ERR_STILTFORGE_SLICE',
    'run() takes an array, a generator or another iterable of slices, bottom first. For a single' +
      ' slice there is analyse().',
  );
}
