import type { Command } from 'commander';
import { runDisplayed } from './batch/displayed.js';
import { failureOf, type RunResult, resultOf, runsDocument } from './batch/outcome.js';
import { overviewText } from './batch/overview.js';
import type { Input } from './batch/side_by_side.js';
import type { Action } from './command.js';
import { ExitCode, Told, UserError } from './errors.js';
import { untilInterrupted } from './interrupting.js';
import { type Options, openRun, usualFolder } from './one_input.js';
import { separateFolders } from './output/separate_folders.js';
import { noProgress } from './progress.js';
import { progressOn } from './progress_on.js';
import { type Summary, summaryText } from './summary.js';
import { tell } from './terminal_text.js';
import { counted } from './wording.js';

/** What the command does with its inputs, given all words of its command line. */
export function analyseInputs(words: readonly string[]): Action {
  return (files, options, command) =>
    files.length === 1 || options.plate
      ? analyseOne(files, options, command)
      : analyseSeveral(files, options, words);
}

/** One input, or several on one plate. */
async function analyseOne(
  files: readonly string[],
  options: Options,
  command: Command,
): Promise<void> {
  const { json } = options;
  const file = files.join(', ');
  let summary: Summary;
  try {
    const run = await openRun(files, options, command);
    summary = await untilInterrupted(async (signal) =>
      run({
        progress: options.quiet ? noProgress : await progressOn(process.stderr),
        signal,
        warn,
      }),
    );
  } catch (error) {
    const failure = json ? failureOf(error) : undefined;
    if (failure !== undefined) print(runsDocument([{ file, error: failure }]));
    throw error;
  }
  if (json) return print(runsDocument([{ file, result: resultOf(summary) }]));
  if (!options.quiet) tell(process.stdout, summaryText(summary));
  if (options.verbose) {
    const { verboseText } = await import('./verbose.js');
    tell(process.stdout, await verboseText(summary.document));
  }
}

async function analyseSeveral(
  files: readonly string[],
  options: Options,
  words: readonly string[],
): Promise<void> {
  const { json, quiet, memory } = options;
  const inputs = inputsOf(files, options);
  const outcomes = await runDisplayed<RunResult>(inputs, {
    ...{ words, memory, quiet, texts: !json },
    interrupted: ({ length }) =>
      `${length} of ${counted(inputs.length, 'input')} had been done, nothing was written of the others`,
  });
  if (json) print(runsDocument(outcomes));
  else if (!quiet) tell(process.stdout, overviewText(outcomes));
  const failed = outcomes.find(({ error }) => error !== undefined)?.error;
  if (failed) throw new Told(failed.exitCode);
}

/** Throws a UserError when two inputs would write into the same folder, or an option is for one alone. */
function inputsOf(files: readonly string[], { out, inspect }: Options): Input[] {
  if (inspect.length > 0) {
    const [{ layer, region }] = inspect;
    throw new UserError(
      ExitCode.usage,
      `--inspect ${layer}:${region}: it names a region of one part, and ${files.length} inputs are ` +
        'given. Use stiltforge inspect afterwards, or --plate for all on one plate.',
    );
  }
  const folders = separateFolders(files, (file) => usualFolder([file]), out);
  return files.map((file, number) => ({ file, folder: folders[number] }));
}

function warn(sentence: string): void {
  tell(process.stderr, `stiltforge: warning: ${sentence}\n`);
}

function print(document: object): void {
  process.stdout.write(`${JSON.stringify(document, undefined, 2)}\n`);
}
