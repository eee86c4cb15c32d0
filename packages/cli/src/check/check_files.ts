import { type CheckReport, checkPrint, type Severity } from 'stiltforge/check';
import { Interrupted, UserError } from '../errors.js';
import { predictedCheckMemory } from '../memory.js';
import { asUserError } from '../printed_file.js';
import type { Progress } from '../progress.js';
import { type InputOptions, openInput } from './input.js';

/** What became of a file. */
export type CheckedFile =
  | { file: string; report: CheckReport; error?: undefined }
  | { file: string; report?: undefined; error: CheckFailure };

/** Why a file can't be checked. */
export type CheckFailure = Pick<UserError, 'exitCode' | 'message'>;

export interface FileCheck extends InputOptions {
  criticalAngle: number;
  progress: Progress;
  signal: AbortSignal;
  warn(sentence: string): void;
  /** Called before the work with the bytes that it may take; it waits until they are there. */
  admit?(bytes: number): Promise<void>;
  /** Where the page of a file goes; none is made unless set. */
  reportFolder?(file: string): string;
  /** Overwrite pages that no earlier run wrote. */
  force?: boolean;
}

export interface CheckRun extends FileCheck {
  /** Called with each file when it is done. */
  done(checked: CheckedFile): void;
}

/**
 * Checks files one after the other; one that can't be read does not stop the others. Throws Interrupted
 * when the signal says so.
 */
export async function checkFiles(files: readonly string[], run: CheckRun): Promise<CheckedFile[]> {
  const checked: CheckedFile[] = [];
  for (const file of files) {
    const next = await checkFile(file, run);
    checked.push(next);
    run.done(next);
  }
  return checked;
}

/** Throws Interrupted when the signal says so. */
export async function checkFile(file: string, run: FileCheck): Promise<CheckedFile> {
  const { criticalAngle, progress, signal } = run;
  try {
    const isReadAgain = run.reportFolder !== undefined;
    const input = await openInput(file, { ...run, given: { ...run.given, isReadAgain } });
    const { layers, print, points, warnings } = input;
    for (const sentence of warnings) run.warn(`${file}: ${sentence}`);
    const triangles = 'mesh' in input.source ? input.source.mesh.length / 9 : 0;
    await run.admit?.(predictedCheckMemory(layers, triangles, isReadAgain));
    progress.start(layers.layerCount, 0);
    try {
      const report = await checkPrint(layers, {
        ...print,
        points,
        criticalAngle,
        progress: progress.layers,
        signal,
      });
      if (run.reportFolder !== undefined) {
        const { checkReportPage, writeCheckReport } = await import('./report.js');
        const { supports } = run;
        const reporting = { criticalAngle, supports, progress: progress.report, signal };
        await writeCheckReport(run.reportFolder(file), run.force ?? false, () =>
          checkReportPage(file, input, report, reporting),
        );
      }
      return { file, report };
    } finally {
      progress.stop();
    }
  } catch (error) {
    if (signal.aborted) throw new Interrupted();
    const told = asUserError(error);
    if (told instanceof UserError) return { file, error: told };
    throw error;
  }
}

/** From the worst to the least. */
export const severities: readonly Severity[] = ['fails', 'risk', 'note'];

/** Whether it has a finding that is as bad as that, or worse. */
export function isAsBadAs({ counts }: CheckReport, limit: Severity): boolean {
  return severities.slice(0, severities.indexOf(limit) + 1).some((one) => counts[one] > 0);
}
