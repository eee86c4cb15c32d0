import { type ChildProcess, fork } from 'node:child_process';
import { availableParallelism } from 'node:os';
import { fileURLToPath } from 'node:url';
import { ExitCode, Interrupted } from '../errors.js';
import type { Progress } from '../progress.js';
import type { Display } from './display.js';
import { MemoryBudget } from './memory_budget.js';
import type { FromRun, ToRun } from './messages.js';
import type { Outcome, RunFailure } from './outcome.js';

export interface Input {
  file: string;
  /** Where its results go. */
  folder: string;
}

export interface SideBySide<Result> {
  /** Of the command line. */
  words: readonly string[];
  /** Bytes that all may take together. */
  memory: number;
  display: Display;
  signal: AbortSignal;
  warn(sentence: string): void;
  /** Called with each when it is done; `text` is what --verbose tells. */
  done(outcome: Outcome<Result>, text: string): void;
}

const program = fileURLToPath(new URL('./one_of_several.js', import.meta.url));

/** What a process said last that ended without a word, characters. */
const mostLastWords = 2000;

/**
 * Runs inputs side by side, each in a process of its own, as many as there are cores and as memory
 * allows. One that fails, and be it by a crash, does not stop the others. Throws Interrupted when the
 * signal says so, after all processes have ended.
 */
export async function runSideBySide<Result>(
  inputs: readonly Input[],
  batch: SideBySide<Result>,
): Promise<Outcome<Result>[]> {
  const budget = new MemoryBudget(batch.memory);
  const outcomes: Outcome<Result>[] = [];
  let next = 0;
  const work = async (): Promise<void> => {
    while (next < inputs.length && !batch.signal.aborted) {
      const number = next++;
      outcomes[number] = await runOne(inputs[number], batch, budget);
    }
  };
  const side = Math.min(inputs.length, availableParallelism());
  await Promise.all(Array.from({ length: side }, work));
  if (batch.signal.aborted) throw new Interrupted();
  return outcomes;
}

async function runOne<Result>(
  input: Input,
  batch: SideBySide<Result>,
  budget: MemoryBudget,
): Promise<Outcome<Result>> {
  const { file } = input;
  const progress = batch.display.begin(file);
  const end = await ended(input, batch, budget, progress);
  progress.stop();
  const outcome: Outcome<Result> =
    end.kind === 'done' ? { file, result: end.result } : { file, error: end.failure };
  if (!batch.signal.aborted) batch.done(outcome, end.kind === 'done' ? end.text : '');
  return outcome;
}

type End<Result> = Extract<FromRun<Result>, { kind: 'done' | 'failed' }>;

/** What its process says last; a failure when that ends without a word. */
function ended<Result>(
  { file, folder }: Input,
  { words, memory, signal, warn }: SideBySide<Result>,
  budget: MemoryBudget,
  progress: Progress,
): Promise<End<Result>> {
  return new Promise((resolve) => {
    const child = fork(program, words, { stdio: ['ignore', 'ignore', 'pipe', 'ipc'] });
    const tell = (message: ToRun): void => {
      // It may have ended in this moment, which its end tells.
      if (child.connected) child.send(message, () => {});
    };
    let bytes = 0;
    let end: End<Result> | undefined;
    let lastWords = '';
    const stop = (): void => tell({ kind: 'stop' });
    signal.addEventListener('abort', stop);

    child.stderr?.setEncoding('utf8').on('data', (text: string) => {
      lastWords = `${lastWords}${text}`.slice(-mostLastWords);
    });
    child.on('message', async (message: FromRun<Result>) => {
      switch (message.kind) {
        case 'needs':
          await budget.admit(message.bytes);
          if (hasEnded(child)) budget.release(message.bytes);
          else bytes = message.bytes;
          return tell({ kind: 'admitted' });
        case 'start':
          return progress.start(message.layers, message.pictureSeconds);
        case 'warning':
          return warn(message.sentence);
        case 'done':
        case 'failed':
          end = message;
          return;
        default:
          progress[message.kind](message.value);
      }
    });
    const finish = (reason: string): void => {
      signal.removeEventListener('abort', stop);
      budget.release(bytes);
      bytes = 0;
      resolve(end ?? { kind: 'failed', failure: crash(file, child.signalCode, reason, lastWords) });
    };
    child.on('error', ({ message }) => finish(message));
    child.on('close', (code) => finish(`with code ${code}`));
    tell({ kind: 'run', file, folder, memory });
  });
}

function hasEnded({ exitCode, signalCode }: ChildProcess): boolean {
  return exitCode !== null || signalCode !== null;
}

function crash(
  file: string,
  signalName: NodeJS.Signals | null,
  reason: string,
  lastWords: string,
): RunFailure {
  if (signalName === 'SIGKILL') {
    const message =
      `${file}: its process was killed, as systems do when memory runs out. Give less to --memory, ` +
      'so that fewer run at once.';
    return { exitCode: ExitCode.memory, message };
  }
  const what = signalName === null ? reason : `by ${signalName}`;
  const said = lastWords.trim() === '' ? '' : `\n${lastWords.trim()}`;
  return {
    exitCode: ExitCode.failure,
    message: `${file}: its process ended unexpectedly, ${what}; please report it.${said}`,
  };
}
