/** What went wrong, for programs. Errors of the five functions carry the same codes. */
export type AnalysisErrorCode =
  /** Of the five functions alone: another thread of the process has their model open. */
  | 'ERR_STILTFORGE_MODEL_OPEN'
  /** Another run of the analysis has not ended; of the five functions: slices are still being analysed. */
  | 'ERR_STILTFORGE_BUSY'
  /** No model is open: it was closed, or an earlier slice failed. */
  | 'ERR_STILTFORGE_CLOSED'
  /** A parameter is missing, of the wrong type or out of range. */
  | 'ERR_STILTFORGE_PARAMETER'
  /** A slice is not an image of the model's size. */
  | 'ERR_STILTFORGE_SLICE'
  /** There is no such layer or group. */
  | 'ERR_STILTFORGE_INDEX'
  /** There is not enough memory. */
  | 'ERR_STILTFORGE_MEMORY'
  /** There is no native binary for this platform, or none that loads. */
  | 'ERR_STILTFORGE_BINARY'
  /** The native analysis failed in another way. */
  | 'ERR_STILTFORGE_NATIVE';

export class AnalysisError extends Error {
  override readonly name = 'AnalysisError';

  constructor(
    readonly code: AnalysisErrorCode,
    message: string,
    options?: { cause?: unknown },
  ) {
    super(message, options);
  }
}

/** Errors of the native side are of the realm that loaded it, which need not be this one. */
export function fromNative(error: unknown): AnalysisError {
  if (error instanceof AnalysisError) return error;
  // A getter of the host's may throw anything.
  const { code, message = String(error) } = Object(error) as {
    code?: AnalysisErrorCode;
    message?: string;
  };
  return new AnalysisError(code ?? 'ERR_STILTFORGE_NATIVE', message, { cause: error });
}
