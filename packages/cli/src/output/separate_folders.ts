import { join } from 'node:path';
import { ExitCode, UserError } from '../errors.js';

/**
 * A folder for each of several inputs, in `out` where it is given. Throws a UserError when two would
 * share one.
 */
export function separateFolders(
  files: readonly string[],
  usual: (file: string) => string,
  out = '',
): string[] {
  const owners = new Map<string, string>();
  return files.map((file) => {
    const folder = join(out, usual(file));
    // Many file systems take these for the same name.
    const key = folder.normalize('NFC').toLowerCase();
    const other = owners.get(key);
    if (other !== undefined) {
      throw new UserError(
        ExitCode.usage,
        `${other} and ${file} would both write to ${folder}/. Rename one of them, or run them one by ` +
          'one with --out.',
      );
    }
    owners.set(key, file);
    return folder;
  });
}
