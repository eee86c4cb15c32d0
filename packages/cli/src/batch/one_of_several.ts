import type { CheckReport } from 'stiltforge/check';
import { checkFile } from '../check/check_files.js';
import { checkRun } from '../check/options.js';
import { runCommand } from '../command.js';
import { ExitCode, Interrupted, messageOf } from '../errors.js';
import { openRun } from '../one_input.js';
import type { Progress } from '../progress.js';
import { summaryText } from '../summary.js';
import type { FromRun, Step, ToRun } from './messages.js';
import { failureOf, type RunResult, resultOf } from './outcome.js';

// A process for one of several inputs. It reads the words of the command line as the command did that
// started it, and tells it over a channel how far it is. Without that command it ends.

const stop = new AbortController();
const interrupt = (): void => stop.abort(new Interrupted());
process.on('disconnect', interrupt).on('SIGTERM', interrupt);
// Ctrl-C reaches all processes of a terminal; the command hears it, too, and says what is to be done.
process.on('SIGINT', () => {});

let admitted = (): void => {};

process.on('message', (message: ToRun) => {
  if (message.kind === 'stop') interrupt();
  else if (message.kind === 'admitted') admitted();
  else void work(message);
});

async function work({ file, folder, memory }: Extract<ToRun, { kind: 'run' }>): Promise<void> {
  const watcher = {
    progress: toldProgress(),
    signal: stop.signal,
    warn: (sentence: string): void => tell({ kind: 'warning', sentence }),
    admit: admission,
  };
  process.exitCode = await runCommand(process.argv.slice(2), {
    analyse: (_, options, command) =>
      ended(file, async () => {
        const given = { ...options, out: folder, memory: memory / 1e9 };
        const run = await openRun([file], given, command, stop.signal);
        const summary = await run(watcher);
        const text = options.verbose ? await toldText(summary) : '';
        tell({ kind: 'done', result: resultOf(summary), text });
      }),
    check: (_, options, command) =>
      ended(file, async () => {
        const run = await checkRun(options, command);
        const reportFolder = options.report ? () => folder : undefined;
        const { report, error } = await checkFile(file, { ...run, ...watcher, reportFolder });
        if (report) return tell({ kind: 'done', result: report, text: '' });
        // Of an Error a channel leaves the message out.
        const { exitCode, message } = error;
        tell({ kind: 'failed', failure: { exitCode, message } });
      }),
  });
  if (process.connected) process.disconnect();
}

/** Tells of what fails. Throws Interrupted when the work was stopped. */
async function ended(file: string, work: () => Promise<void>): Promise<void> {
  try {
    await work();
  } catch (error) {
    if (stop.signal.aborted) throw new Interrupted();
    const failure = failureOf(error) ?? {
      exitCode: ExitCode.failure,
      message: `${file}: unexpected failure, please report it: ${(error as Error).stack ?? messageOf(error)}`,
    };
    tell({ kind: 'failed', failure });
  }
}

async function toldText(summary: Parameters<typeof summaryText>[0]): Promise<string> {
  const { verboseText } = await import('../verbose.js');
  return `${summaryText(summary)}${await verboseText(summary.document)}`;
}

function tell(message: FromRun<RunResult | CheckReport>): void {
  // Nobody listens any more when the command was killed.
  if (process.connected) process.send?.(message);
}

function admission(bytes: number): Promise<void> {
  return new Promise((resolve, reject) => {
    admitted = resolve;
    stop.signal.addEventListener('abort', () => reject(stop.signal.reason));
    tell({ kind: 'needs', bytes });
  });
}

/** Milliseconds between messages: a display shows no more. */
const pause = 50;

function toldProgress(): Progress {
  let last = 0;
  const share = (kind: Step, value: number): void => {
    if (performance.now() - last < pause) return;
    last = performance.now();
    tell({ kind, value });
  };
  return {
    start: (layers, pictureSeconds) => tell({ kind: 'start', layers, pictureSeconds }),
    layers: (done) => share('layers', done),
    supports: (done) => share('supports', done),
    files: (done) => share('files', done),
    report: (done) => share('report', done),
    pictures: (done) => share('pictures', done),
    stop() {},
  };
}
