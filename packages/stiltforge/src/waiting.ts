/** What is used of an AbortSignal, so that a program may do without the types of Node and of browsers. */
export interface AbortSignalLike {
  readonly aborted: boolean;
  readonly reason: unknown;
  throwIfAborted(): void;
  addEventListener(type: 'abort', listener: () => void, options?: { once?: boolean }): void;
  removeEventListener(type: 'abort', listener: () => void): void;
}

/** The promise, or a rejection with the signal's reason, whichever is first. */
export function abortable<T>(promise: Promise<T>, signal: AbortSignalLike | undefined): Promise<T> {
  if (!signal) return promise;
  return new Promise<T>((resolve, reject) => {
    const abort = () => reject(signal.reason);
    if (signal.aborted) abort();
    signal.addEventListener('abort', abort, { once: true });
    promise.then(resolve, reject).finally(() => signal.removeEventListener('abort', abort));
  });
}

/** Keeps a promise that may be awaited only later from counting as an unhandled rejection. */
export function ignoreUntilAwaited(promise: Promise<unknown>): void {
  promise.catch(() => {});
}
