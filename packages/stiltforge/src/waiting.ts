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

/**
 * Hands work a signal that follows the given one until the work has ended: the native side listens to
 * its signal for good, and a host may have one for all its calls. What is no signal is not handed on.
 */
export async function following<T>(
  signal: AbortSignalLike | undefined,
  work: (follower?: AbortSignalLike) => Promise<T>,
): Promise<T> {
  if (typeof signal?.addEventListener !== 'function') return work();
  const follower = new AbortController();
  const follow = () => follower.abort(signal.reason);
  if (signal.aborted) follow();
  signal.addEventListener('abort', follow, { once: true });
  try {
    return await work(follower.signal);
  } finally {
    signal.removeEventListener('abort', follow);
  }
}

/** Keeps a promise that may be awaited only later from counting as an unhandled rejection. */
export function ignoreUntilAwaited(promise: Promise<unknown>): void {
  promise.catch(() => {});
}
