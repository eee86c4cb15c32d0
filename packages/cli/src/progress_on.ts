import { type Progress, progressLines } from './progress.js';

/** A bar, or lines where the stream is not a terminal. */
export async function progressOn(stream: NodeJS.WriteStream): Promise<Progress> {
  if (!stream.isTTY) return progressLines(stream);
  const { progressBar } = await import('./progress_bar.js');
  return progressBar(stream);
}
