import { progressLines } from '../progress.js';
import { counted } from '../wording.js';
import type { Display } from './display.js';

/** Lines, for a stream that is not a terminal. */
export function displayLines(stream: NodeJS.WritableStream, inputs: number): Display {
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
