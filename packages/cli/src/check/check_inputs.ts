import type { CheckReport } from 'stiltforge/check';
import { runDisplayed } from '../batch/displayed.js';
import type { Outcome } from '../batch/outcome.js';
import { ExitCode, Told, UserError } from '../errors.js';
import { untilInterrupted } from '../interrupting.js';
import { separateFolders } from '../output/separate_folders.js';
import { noProgress } from '../progress.js';
import { progressOn } from '../progress_on.js';
import { tell } from '../terminal_text.js';
import { counted } from '../wording.js';
import { type CheckedFile, checkFile, isAsBadAs } from './check_files.js';
import type { CheckAction } from './command.js';
import { checkDocument } from './document.js';
import { type CheckOptions, checkRun } from './options.js';
import { checkFolder } from './report_folder.js';
import { fileText, overviewText } from './text.js';

/** What stiltforge check does with its files, given all words of its command line. */
export function checkInputs(words: readonly string[]): CheckAction {
  return async (files, options, command) => {
    const { points, json, quiet, failOn } = options;
    if (points !== undefined && files.length > 1) {
      throw new UserError(
        ExitCode.usage,
        `--points ${points}: it holds the supports of one mesh, and ${files.length} files are given. ` +
          'Check them one by one.',
      );
    }
    const run = await checkRun(options, command);
    const checked =
      files.length === 1
        ? [await checkOne(files[0], run, options)]
        : await checkSeveral(files, options, words);
    if (json) process.stdout.write(`${JSON.stringify(checkDocument(checked), undefined, 2)}\n`);
    else if (!quiet) {
      tell(process.stdout, checked.map(textOf).join(''));
      if (checked.length > 1) tell(process.stdout, overviewText(checked));
    }
    const unusable = checked.find(({ error }) => error !== undefined)?.error;
    if (unusable) throw new Told(unusable.exitCode);
    if (checked.some(({ report }) => report && isAsBadAs(report, failOn)))
      throw new Told(ExitCode.failure);
  };
}

async function checkOne(
  file: string,
  run: Awaited<ReturnType<typeof checkRun>>,
  { report, out, quiet }: CheckOptions,
): Promise<CheckedFile> {
  const checked = await untilInterrupted(async (signal) =>
    checkFile(file, {
      ...run,
      ...(report && { reportFolder: () => out ?? checkFolder(file) }),
      progress: quiet ? noProgress : await progressOn(process.stderr),
      signal,
      warn: (sentence) => tell(process.stderr, `stiltforge: warning: ${sentence}\n`),
    }),
  );
  if (checked.error) tell(process.stderr, `stiltforge: ${checked.error.message}\n`);
  return checked;
}

async function checkSeveral(
  files: readonly string[],
  options: CheckOptions,
  words: readonly string[],
): Promise<CheckedFile[]> {
  const { memory, quiet, json, report, out } = options;
  const folders = report ? separateFolders(files, checkFolder, out) : [];
  const inputs = files.map((file, number) => ({ file, folder: folders[number] ?? '' }));
  const outcomes = await runDisplayed<CheckReport>(inputs, {
    ...{ words, memory, quiet },
    interrupted(done) {
      if (!quiet && !json) tell(process.stdout, done.map((one) => textOf(checkedOf(one))).join(''));
      return `${done.length} of ${counted(files.length, 'file')} had been checked`;
    },
  });
  return outcomes.map(checkedOf);
}

function checkedOf({ file, result, error }: Outcome<CheckReport>): CheckedFile {
  return error ? { file, error } : { file, report: result };
}

function textOf({ file, report }: CheckedFile): string {
  return report ? `${fileText(file, report)}\n` : '';
}
