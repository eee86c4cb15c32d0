import type { RunFailure } from './outcome.js';

// What the command and the processes that it starts for its inputs say to each other.

/** Of which the share, or the layers, are told. */
export type Step = 'layers' | 'supports' | 'files' | 'report' | 'pictures';

export type ToRun =
  | { kind: 'run'; file: string; folder: string; memory: number }
  /** The memory that was asked for is there. */
  | { kind: 'admitted' }
  | { kind: 'stop' };

export type FromRun<Result> =
  /** The run may take so many bytes, and waits until they are there. */
  | { kind: 'needs'; bytes: number }
  | { kind: 'start'; layers: number; pictureSeconds: number }
  | { kind: Step; value: number }
  | { kind: 'warning'; sentence: string }
  /** `text` is what --verbose tells. */
  | { kind: 'done'; result: Result; text: string }
  | { kind: 'failed'; failure: RunFailure };
