import type { CheckReport } from 'stiltforge/check';
import type { ExitCode } from '../errors.js';
import { version } from '../version.js';
import type { CheckedFile } from './check_files.js';

/** What `stiltforge check --json` prints. */
export interface CheckDocument {
  /** Grows when a field changes its meaning or goes. */
  schemaVersion: 1;
  generator: { name: 'stiltforge'; version: string };
  /** In the order of the command line. */
  files: ((CheckReport & { file: string }) | { file: string; error: string; exitCode: ExitCode })[];
}

export function checkDocument(checked: readonly CheckedFile[]): CheckDocument {
  return {
    schemaVersion: 1,
    generator: { name: 'stiltforge', version },
    files: checked.map(({ file, report, error }) =>
      report ? { file, ...report } : { file, error: error.message, exitCode: error.exitCode },
    ),
  };
}
