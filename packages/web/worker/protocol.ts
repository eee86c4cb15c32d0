// What the page and its worker say to each other.

import type { OrientationWeights } from 'stiltforge/orientation';
import type { ScaffoldSettings } from 'stiltforge/scaffold';
import type { PrintSettings, SupportSettings } from 'stiltforge/slicing';
import type { Direction, OrientationRow, PartOptions, PlateOptions } from 'stiltforge-cli/part';
import type { PackedPart } from 'stiltforge-viewer';

/** All that a person sets. */
export interface PartSettings {
  placement: PartOptions;
  plate: Pick<PlateOptions, 'copies' | 'gap'>;
  print: PrintSettings;
  support: SupportSettings;
  scaffold: ScaffoldSettings;
}

/** `merged`: the part with its supports. */
export type FileFormat = 'json' | 'csv' | '3mf' | 'stl' | 'merged' | 'report';

export interface PartFile {
  name: string;
  bytes: ArrayBuffer;
}

/** What a person wants of an orientation. */
export interface OrientationWish {
  /** What weighs more. */
  prefer?: keyof OrientationWeights;
  /** The direction that a side faces which is to carry no marks. */
  keepClean?: Direction;
}

/** Orientations of a part, the best first. */
export interface Ranking {
  tried: number;
  /** Titles of the figures. */
  columns: readonly string[];
  rows: readonly RankedTurn[];
  /** Of the part, where its height was set: turned it would have another one. */
  scale?: number;
}

/** The first may be the part as it is, without a rank. */
export interface RankedTurn extends Omit<OrientationRow, 'orientation'> {
  /** Degrees about x, y, z, of the part as its file has it. */
  turn: [x: number, y: number, z: number];
}

/** `oriented`: the mesh as it stands best. */
export type OrientationFormat = 'orientations' | 'oriented';

/** One is answered before the next is given. */
export type Order =
  /** The first: the compiled core, and the page that a report is made of. */
  | { order: 'start'; core: ArrayBuffer; template: string }
  /** Whether the settings make sense. */
  | { order: 'check'; settings: PartSettings }
  /** Several are one plate. */
  | { order: 'analyse'; files: readonly PartFile[]; settings: PartSettings }
  /** A file of the part that was analysed. */
  | { order: 'save'; format: FileFormat }
  | { order: 'orient'; file: PartFile; settings: PartSettings; wish: OrientationWish }
  /** A file of the orientations that were found. */
  | { order: 'saveOriented'; format: OrientationFormat };

export type Answer =
  | { answer: 'done' }
  | { answer: 'analysed'; packed: PackedPart }
  | { answer: 'oriented'; ranking: Ranking }
  /** `warnings`: sentences that a person should read. */
  | { answer: 'saved'; file: Blob; warnings: readonly string[] }
  /** `isMendable`: the sentence says what a person can do; else it is the trace of a mistake of ours. */
  | { answer: 'failed'; sentence: string; isMendable: boolean };

export type Step = 'reading' | 'layers' | 'building' | 'packing' | 'orientations';

/** Told again and again before the answer to `analyse` and `orient`. */
export interface Progress {
  step: Step;
  /** Of the step, from 0 to 1. */
  share: number;
  /** Layers, or orientations. */
  total: number;
}

export type Message = Answer | { progress: Progress };
