import { ExitCode, Interrupted, Told } from '../errors.js';
import { untilInterrupted } from '../interrupting.js';
import { memoryOfMachine } from '../machine_memory.js';
import { type Display, noDisplay } from './display.js';
import { displayLines } from './display_lines.js';
import type { Outcome } from './outcome.js';
import { type Input, runSideBySide } from './side_by_side.js';

export interface DisplayedBatch<Result> {
  /** Of the command line. */
  words: readonly string[];
  /** GB that all may take together; what the machine has unless set. */
  memory?: number;
  /** Show no progress. */
  quiet?: boolean;
  /** Show what --verbose tells of each. */
  texts?: boolean;
  /** What there is to say when Ctrl-C ended it, given what had been done by then. */
  interrupted(done: Outcome<Result>[]): string;
}

/**
 * Runs inputs side by side with one display on standard error, where failures and warnings are told as
 * they come. Throws Told when Ctrl-C ended it.
 */
export async function runDisplayed<Result>(
  inputs: readonly Input[],
  { words, memory, quiet, texts, interrupted }: DisplayedBatch<Result>,
): Promise<Outcome<Result>[]> {
  const display = quiet
    ? noDisplay(process.stderr)
    : await displayOn(process.stderr, inputs.length);
  const say = (sentence: string): void => display.say(`stiltforge: ${sentence}\n`);
  const done: Outcome<Result>[] = [];
  try {
    return await untilInterrupted(async (signal) =>
      runSideBySide<Result>(inputs, {
        ...{ words, display, signal },
        memory: memory === undefined ? memoryOfMachine() : 1e9 * memory,
        warn: (sentence) => say(`warning: ${sentence}`),
        done(outcome, text) {
          if (outcome.error) say(outcome.error.message);
          else done.push(outcome);
          if (text !== '' && texts) display.say(text);
        },
      }),
    );
  } catch (error) {
    if (!(error instanceof Interrupted)) throw error;
    display.stop();
    process.stderr.write(`stiltforge: interrupted; ${interrupted(done)}\n`);
    throw new Told(ExitCode.interrupted);
  } finally {
    display.stop();
  }
}

/** Bars, or lines where the stream is not a terminal. */
async function displayOn(stream: NodeJS.WriteStream, inputs: number): Promise<Display> {
  if (!stream.isTTY) return displayLines(stream, inputs);
  const { displayBars } = await import('./display_bars.js');
  return displayBars(stream, inputs);
}
