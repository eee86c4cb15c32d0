// What the page and its worker say to each other.

import type { ScaffoldSettings } from 'stiltforge/scaffold';
import type { PrintSettings, SupportSettings } from 'stiltforge/slicing';
import type { PartOptions } from 'stiltforge-cli/part';
import type { PackedPart } from 'stiltforge-viewer';

/** All that a person sets. */
export interface PartSettings {
  placement: PartOptions;
  print: PrintSettings;
  support: SupportSettings;
  scaffold: ScaffoldSettings;
}

/** `merged`: the part with its supports. */
export type FileFormat = 'json' | 'csv' | '3mf' | 'stl' | 'merged' | 'report';

/** One is answered before the next is given. */
export type Order =
  /** The first: the compiled core, and the page that a report is made of. */
  | { order: 'start'; core: ArrayBuffer; template: string }
  /** Whether the settings make sense. */
  | { order: 'check'; settings: PartSettings }
  | { order: 'analyse'; name: string; bytes: ArrayBuffer; settings: PartSettings }
  /** A file of the part that was analysed. */
  | { order: 'save'; format: FileFormat };

export type Answer =
  | { answer: 'done' }
  | { answer: 'analysed'; packed: PackedPart }
  /** `warnings`: sentences that a person should read. */
  | { answer: 'saved'; file: Blob; warnings: readonly string[] }
  /** `isMendable`: the sentence says what a person can do; else it is the trace of a mistake of ours. */
  | { answer: 'failed'; sentence: string; isMendable: boolean };

export type Step = 'reading' | 'layers' | 'packing';

/** Told again and again before the answer to `analyse`; share: of the step, from 0 to 1. */
export interface Progress {
  step: Step;
  share: number;
  layers: number;
}

export type Message = Answer | { progress: Progress };
