import { noProgress, type Progress, progressLines } from '../progress.js';
import { counted } from '../wording.js';

/** Shows how far several runs are. */
export interface Display {
  /** A run begins. Its progress ends with stop(). */
  begin(file: string): Progress;
  /** Writes whole lines without spoiling what is shown. */
  say(text: string): void;
  stop(): void;
}

export const noDisplay = (stream: NodeJS.WritableStream): Display => ({
  begin: () => noProgress,
  say: (text) => stream.write(text),
  stop() {},
});

/** Bars, or lines where the stream is not a terminal. */
export async function displayOn(stream: NodeJS.WriteStream, inputs: number): Promise<Display> {
  if (!stream.isTTY) return displayLines(stream, inputs);
  const { displayBars } = await import('./display_bars.js');
  return displayBars(stream, inputs);
}

function displayLines(stream: NodeJS.WritableStream, inputs: number): Display {
  let done = 0;
  return {
    begin(file) {
      const lines = progressLines(stream, `${file}: `);
      return {
        ...lines,
        stop() {
          done++;
          stream.write(`${file}: ended, ${done} of ${counted(inputs, 'input')}\n`);
        },
      };
    },
    say: (text) => stream.write(text),
    stop() {},
  };
}
