import { noProgress, type Progress } from '../progress.js';
import { tell } from '../terminal_text.js';

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
  say: (text) => tell(stream, text),
  stop() {},
});
