import { progressLines } from '../progress.js';
import { tell, terminalText } from '../terminal_text.js';
import { counted } from '../wording.js';
import type { Display } from './display.js';

/** Lines, for a stream that is not a terminal. */
export function displayLines(stream: NodeJS.WritableStream, inputs: number): Display {
  let done = 0;
  return {
    begin(file) {
      const lines = progressLines(stream, terminalText(`${file}: `));
      return {
        ...lines,
        stop() {
          done++;
          tell(stream, `${file}: ended, ${done} of ${counted(inputs, 'input')}\n`);
        },
      };
    },
    say: (text) => tell(stream, text),
    stop() {},
  };
}
