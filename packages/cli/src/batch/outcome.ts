import { ExitCode, messageOf, UserError } from '../errors.js';
import { isLackOfMemory } from '../memory.js';
import type { SupportsDocument, VerdictRecord } from '../output/documents.js';
import { asUserError } from '../printed_file.js';
import type { Summary } from '../summary.js';
import { version } from '../version.js';

/** What is told of a run when there are several, or to a program. */
export interface RunResult {
  folder: string;
  /** In the folder. */
  files: readonly string[];
  seconds: number;
  /** Bytes that its process took at most. */
  peakMemory: number;
  summary: SupportsDocument['summary'];
  /** mm; and mm2 of overhanging surface, of it what is farther than that from every support. */
  overhang: Pick<VerdictRecord, 'nearReach'> & VerdictRecord['overhang'];
  warnings: readonly string[];
}

export interface RunFailure {
  exitCode: ExitCode;
  message: string;
}

/** What became of an input. */
export type Outcome<Result> =
  | { file: string; result: Result; error?: undefined }
  | { file: string; result?: undefined; error: RunFailure };

export function resultOf({ document, folder, files, seconds, peakMemory }: Summary): RunResult {
  const { nearReach, overhang } = document.verdict;
  return {
    ...{ folder, files, seconds, peakMemory },
    summary: document.summary,
    overhang: { nearReach, ...overhang },
    warnings: document.model.warnings,
  };
}

/** Of an input that can't be used; other errors are not its own. */
export function failureOf(error: unknown): RunFailure | undefined {
  const told = asUserError(error);
  if (told instanceof UserError) return { exitCode: told.exitCode, message: told.message };
  return isLackOfMemory(error)
    ? { exitCode: ExitCode.memory, message: messageOf(error) }
    : undefined;
}

/** What --json prints. */
export interface RunsDocument {
  /** Grows when a field changes its meaning or goes. */
  schemaVersion: 1;
  generator: { name: 'stiltforge'; version: string };
  /** In the order of the command line. */
  files: (({ file: string } & RunResult) | { file: string; error: string; exitCode: ExitCode })[];
}

export function runsDocument(outcomes: readonly Outcome<RunResult>[]): RunsDocument {
  return {
    schemaVersion: 1,
    generator: { name: 'stiltforge', version },
    files: outcomes.map(({ file, result, error }) =>
      result ? { file, ...result } : { file, error: error.message, exitCode: error.exitCode },
    ),
  };
}
