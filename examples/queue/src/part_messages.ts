import type { PartJob } from './job.js';

/** What a part's process is to do. */
export interface PartOrder extends Pick<PartJob, 'format' | 'print' | 'support'> {
  /** Where the input is and the result goes. */
  folder: string;
  /** The input, a file there. */
  name: string;
  /** Bytes that it may take. */
  memory: number;
}

export interface PartProgress {
  layers: number;
  of: number;
}

/** What a part's process says, one of these at a time. */
export type PartMessage =
  | { progress: PartProgress }
  /** The result, a file of the folder, and the processor time of all cores that it took. */
  | { made: string; cpuSeconds: number }
  /** What is wrong with the input: trying again would not help. */
  | { refused: string }
  /** Anything else that failed. */
  | { failed: string };
