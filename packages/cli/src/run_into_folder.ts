import { Interrupted } from './errors.js';
import { isOfRegion } from './inspected_regions.js';
import { isLackOfMemory, outOfMemory } from './memory.js';
import { inOutputFolder, type OutputFolder } from './output/output_folder.js';
import { asUserError } from './printed_file.js';
import type { Progress } from './progress.js';
import type { Summary } from './summary.js';

/** Where a run writes to. */
export interface FolderJob {
  /** Of the input, for messages. */
  name: string;
  /** Folder for the outputs; made when missing. */
  folder: string;
  /** Overwrite files that stand in the way and were not written by an earlier run. */
  force?: boolean;
  /** Leave everything that earlier runs wrote, but for what is written anew. */
  keep?: boolean;
}

export interface JobWatcher {
  progress: Progress;
  signal: AbortSignal;
  warn(sentence: string): void;
  /** Called before the work with the bytes that it may take; it waits until they are there. */
  admit?(bytes: number): Promise<void>;
}

/** What is known of a run before its work begins. */
export interface FolderRun {
  /** Files that it will write. */
  expected: readonly string[];
  /** Bytes that it may take. */
  memory: number;
  /** Whether the layers are cut already. */
  isCut?: boolean;
  write(folder: OutputFolder): Promise<Omit<Summary, 'seconds' | 'peakMemory'>>;
}

/**
 * A run whose outputs appear together at the end, or none of them. Throws a UserError for what the user
 * can mend, Interrupted when the signal says so.
 */
export async function runIntoFolder(
  job: FolderJob,
  watcher: Pick<JobWatcher, 'signal' | 'admit'>,
  prepare: () => FolderRun,
): Promise<Summary> {
  const started = performance.now();
  const { expected, memory, isCut, write } = prepare();
  const options = { expected, force: job.force ?? false };
  return inOutputFolder(job.folder, options, async (folder) => {
    try {
      const asked = performance.now();
      await watcher.admit?.(memory);
      const waited = performance.now() - asked;
      const summary = await write(folder);
      // What was inspected stays: it was asked for one by one.
      folder.commit((name) => job.keep === true || isOfRegion(name));
      const seconds = (performance.now() - started - waited) / 1000;
      return { ...summary, seconds, peakMemory: 1024 * process.resourceUsage().maxRSS };
    } catch (error) {
      if (watcher.signal.aborted) throw new Interrupted();
      throw isLackOfMemory(error) ? outOfMemory(job.name, error, isCut) : asUserError(error);
    }
  });
}
