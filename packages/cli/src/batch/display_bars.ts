import { basename } from 'node:path';
import { MultiBar, Presets, type SingleBar } from 'cli-progress';
import { wrapped } from '../plain_text.js';
import { Course, type Progress, type State } from '../progress.js';
import { longestText, usualColumns } from '../progress_bar.js';
import { terminalText } from '../terminal_text.js';
import { counted } from '../wording.js';
import type { Display } from './display.js';

const longestName = 20;

/** A bar for all inputs, and one for each that is in work. */
export function displayBars(stream: NodeJS.WriteStream, inputs: number): Display {
  const columns = stream.columns || usualColumns;
  const rest = columns - longestText - 1;
  const nameWidth = Math.min(longestName, Math.max(8, rest - 12));
  const bars = new MultiBar(
    {
      stream,
      barsize: Math.min(30, Math.max(4, rest - nameWidth - 1)),
      format: '{name} {bar} {percentage}% | {text}',
      hideCursor: true,
      linewrap: false,
      fps: 10,
      stopOnComplete: false,
      clearOnComplete: true,
    },
    Presets.shades_classic,
  );
  const nameOf = (text: string): string =>
    (text.length > nameWidth ? `${text.slice(0, nameWidth - 3)}...` : text).padEnd(nameWidth);
  let done = 0;
  const allText = (): string => `${done} of ${counted(inputs, 'input')}`;
  const all = bars.create(inputs, 0, { name: nameOf('all'), text: allText() });
  return {
    begin(file) {
      const bar = bars.create(1, 0, {
        name: nameOf(terminalText(basename(file))),
        text: 'reading',
      });
      return {
        ...progressOf(bar),
        stop() {
          bars.remove(bar);
          done++;
          all.update(done, { text: allText() });
        },
      };
    },
    // A line at a time, and none wider than the terminal: what is left of a bar would stand behind it.
    say(text) {
      for (const line of text.trimEnd().split('\n')) {
        for (const part of wrapped(terminalText(line), columns - 1, '  ')) bars.log(`${part}\n`);
      }
    },
    stop: () => bars.stop(),
  };
}

function progressOf(bar: SingleBar): Omit<Progress, 'stop'> {
  const course = new Course();
  const show = ({ share, parts }: State): void => bar.update(share, { text: parts.join(' | ') });
  return {
    start: (layers, pictureSeconds) => show(course.start(layers, pictureSeconds)),
    layers: (done) => show(course.layers(done)),
    supports: (share) => show(course.supports(share)),
    files: (share) => show(course.files(share)),
    report: (share) => show(course.report(share)),
    pictures: (share) => show(course.pictures(share)),
  };
}
