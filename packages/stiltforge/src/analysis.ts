import type { AnalysisParameters, MemoryEstimate, ModelSize, SliceResult } from 'stiltforge';
import { AnalysisError, type AnalysisErrorCode } from './errors.js';
import { checkedParameters } from './parameters.js';
import { isByteArray } from './realms.js';
import { type SliceImage, sliceBuffer } from './slice_image.js';

export type {
  AnalysisParameters,
  Group,
  Layer,
  MemoryEstimate,
  SliceResult,
  Support,
} from 'stiltforge';
export { AnalysisError, type AnalysisErrorCode } from './errors.js';
export { parameterNames } from './parameters.js';
export type { ImageLike, SliceImage } from './slice_image.js';

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
  images: Record<GroupImageName, Buffer>;
}

export interface RunOptions {
  /** Ends the wait with the signal's reason. The slice in work is still analysed, its result dropped. */
  signal?: AbortSignal;
}

/** Slices, bottom first. An asynchronous source may prepare them while earlier ones are analysed. */
export type SliceSource = AsyncIterable<SliceImage> | Iterable<SliceImage>;

/** What a host expects of a model beyond its parameters; rather too much than too little. */
export type ModelExpectation = Partial<
  Pick<
    ModelSize,
    'queuedSlices' | 'heldResults' | 'regionsPerLayer' | 'supports' | 'unsupportedShare'
  >
>;

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
  return addon().InitAnalyseSlice.estimateMemory({
    width,
    height,
    layers: numLayer,
    needBuffer,
    ghostRadius,
    ghostsPerRegion: maxGhost,
    pixelsPerSupport: supportStrength,
    ...expected,
  });
}

/** The five functions, loaded when they are first needed: importing this module never fails. */
function addon(): typeof import('stiltforge') {
  try {
    return require('stiltforge');
  } catch (error) {
    throw fromAddon(error);
  }
}

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
      throw fromAddon(error);
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
  analyse(slice: SliceImage, options: RunOptions = {}): Promise<SliceResult> {
    return this.#job(options.signal, (resolve, reject) => {
      const { width, height } = this.parameters;
      const pixels = sliceBuffer(slice, width, height);
      addon().AnalyseSlice(pixels, this.#slices & 0xffff, (result) => {
        if ('layer' in result) return resolve(result);
        // The slices above would be related to a layer that is not theirs.
        this.#failure ??= result;
        reject(result);
      });
      this.#slices += 1;
    });
  }

  /**
   * Analyses a whole stack, yielding the result of each slice in order. While a slice is analysed the
   * source is asked for the next one; while a result is with the caller the next slice is analysed.
   * Ends the source when the caller stops early.
   */
  async *run(
    slices: SliceSource,
    options: RunOptions = {},
  ): AsyncGenerator<SliceResult, void, void> {
    const iterator = iterate(slices);
    const pull = async () => {
      options.signal?.throwIfAborted();
      return await iterator.next();
    };
    const begin = async (next: IteratorResult<SliceImage, unknown>) =>
      next.done ? undefined : await this.analyse(next.value, options);

    let slice = pull();
    let analysed = slice.then(begin);
    try {
      for (;;) {
        slice = slice.then((current) => (current.done ? current : pull()));
        ignoreUntilAwaited(slice);
        const result = await abortable(analysed, options.signal);
        if (!result) return;
        analysed = slice.then(begin);
        ignoreUntilAwaited(analysed);
        yield result;
      }
    } finally {
      ignoreUntilAwaited(analysed);
      const ended = Promise.resolve(iterator.return?.());
      ignoreUntilAwaited(ended);
      // A source that is stuck in next() would keep an aborted run from ending.
      if (!options.signal?.aborted) await ended;
    }
  }

  /**
   * Renders one group of an analysed slice.
   * @param layer index of the slice in the order of analysis, from 0
   * @param group index of the group in the slice's `layer.groups`, from 0
   */
  groupImages(layer: number, group: number, options: RunOptions = {}): Promise<GroupImages> {
    return this.#job(options.signal, (resolve, reject) => {
      requireIndex('layer', layer, 0xffff);
      requireIndex('group', group, 0xffff_fffe);
      addon().GroupToBitmap(layer, group + 1, (first, ...rest) => {
        if (isByteArray(first)) resolve(namedImages(first, rest));
        else reject(first);
      });
    });
  }

  /** Waits for the work in hand and frees the model. May be called twice. */
  close(): Promise<void> {
    this.#closed ??= this.#close();
    return this.#closed;
  }

  [Symbol.asyncDispose](): Promise<void> {
    return this.close();
  }

  async #close(): Promise<void> {
    while (this.#jobs.size > 0) await Promise.allSettled(this.#jobs);
    addon().CleanPointer();
    openAnalysis = undefined;
  }

  /** Starts a job whose callback settles it; close() waits for it even when the caller does not. */
  #job<T>(
    signal: AbortSignal | undefined,
    start: (resolve: (value: T) => void, reject: (error: Error) => void) => void,
  ) {
    const job = new Promise<T>((resolve, reject) => {
      signal?.throwIfAborted();
      this.#requireUsable();
      try {
        start(resolve, (error) => reject(fromAddon(error)));
      } catch (error) {
        throw fromAddon(error);
      }
    });
    this.#jobs.add(job);
    const done = () => this.#jobs.delete(job);
    job.then(done, done);
    return abortable(job, signal);
  }

  #requireUsable(): void {
    if (this.#closed) {
      throw new AnalysisError('ERR_STILTFORGE_CLOSED', 'The analysis is closed. Create a new one.');
    }
    if (this.#failure) {
      throw new AnalysisError(
        'ERR_STILTFORGE_CLOSED',
        `An earlier slice failed (${this.#failure.message}), so what lies above it would be wrong.` +
          ' Close this analysis and start the model again.',
        { cause: this.#failure },
      );
    }
  }
}

/** The addon's errors are of the realm that loaded it, which need not be this one. */
function fromAddon(error: unknown): AnalysisError {
  if (error instanceof AnalysisError) return error;
  const { code, message } = error as Error & { code?: AnalysisErrorCode };
  return new AnalysisError(code ?? 'ERR_STILTFORGE_NATIVE', message, { cause: error });
}

function requireIndex(what: string, value: number, most: number): void {
  if (Number.isInteger(value) && value >= 0 && value <= most) return;
  throw new AnalysisError(
    'ERR_STILTFORGE_INDEX',
    `The ${what} index is ${value}, not a whole number from 0 to ${most}.`,
  );
}

function namedImages(first: Buffer, rest: (Buffer | number)[]): GroupImages {
  const buffers = [first, ...rest.slice(0, groupImageNames.length - 1)] as Buffer[];
  const [width, height] = rest.slice(-2) as [number, number];
  const entries = groupImageNames.map((name, i) => [name, buffers[i]]);
  return { width, height, images: Object.fromEntries(entries) };
}

function iterate(slices: SliceSource): AsyncIterator<SliceImage> | Iterator<SliceImage> {
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

/** The promise, or a rejection with the signal's reason, whichever is first. */
function abortable<T>(promise: Promise<T>, signal: AbortSignal | undefined): Promise<T> {
  if (!signal) return promise;
  return new Promise<T>((resolve, reject) => {
    const abort = () => reject(signal.reason);
    if (signal.aborted) abort();
    signal.addEventListener('abort', abort, { once: true });
    promise.then(resolve, reject).finally(() => signal.removeEventListener('abort', abort));
  });
}

/** Keeps a promise that may be awaited only later from counting as an unhandled rejection. */
function ignoreUntilAwaited(promise: Promise<unknown>): void {
  promise.catch(() => {});
}
