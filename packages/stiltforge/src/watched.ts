import { type AbortSignalLike, abortable } from './waiting.js';

/** Work that the native side has started. */
export interface WatchedWork<Result> {
  result: Promise<Result>;
  progress(): [done: number, total: number];
  cancel(): void;
}

type Teller = (done: number, total: number) => void;

const millisecondsBetweenLooks = 100;

/**
 * What the work that `start` starts resolves to; rejects with the signal's reason. `progress` is called
 * about ten times a second. `start` is handed what listens where the work runs on the host's own thread.
 */
export async function watched<Result>(
  start: (listener: Teller | undefined) => WatchedWork<Result>,
  progress: Teller | undefined,
  signal: AbortSignalLike | undefined,
): Promise<Result> {
  signal?.throwIfAborted();
  const tell = progress && telling(progress);
  const work = start(tell);
  const looks = tell && setInterval(() => tell(...work.progress()), millisecondsBetweenLooks);
  signal?.addEventListener('abort', work.cancel, { once: true });
  try {
    return await abortable(work.result, signal);
  } finally {
    clearInterval(looks);
    signal?.removeEventListener('abort', work.cancel);
  }
}

/** Tells, about ten times a second at most, as soon as there is something to tell. */
function telling(progress: Teller): Teller {
  let last = -Infinity;
  return (done, total) => {
    const now = performance.now();
    if (total === 0 || now - last < 0.9 * millisecondsBetweenLooks) return;
    last = now;
    progress(done, total);
  };
}
