import { ExitCode, Interrupted } from './errors.js';

/** Ctrl-C ends the work as soon as it can end; a second one ends the process at once. */
export async function untilInterrupted<T>(work: (signal: AbortSignal) => Promise<T>): Promise<T> {
  const controller = new AbortController();
  const interrupt = (): void => {
    if (controller.signal.aborted) process.exit(ExitCode.interrupted);
    controller.abort(new Interrupted());
  };
  process.on('SIGINT', interrupt).on('SIGTERM', interrupt);
  try {
    return await work(controller.signal);
  } finally {
    process.off('SIGINT', interrupt).off('SIGTERM', interrupt);
  }
}
