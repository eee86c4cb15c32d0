import { Presets, SingleBar } from 'cli-progress';
import { durationText, rateText } from './wording.js';

/** Shows how far the analysis is. */
export interface Progress {
  start(total: number): void;
  update(done: number): void;
  stop(): void;
}

export const noProgress: Progress = { start() {}, update() {}, stop() {} };

/** Milliseconds between lines where no bar can be drawn. */
const linePause = 5000;

/** Columns of a terminal, and those of the longest text beside the bar. */
const usualColumns = 80;
const barText = ' 100% | layer 65535 of 65535 | 99999 layers/s | 59 min 59 s left'.length;

/**
 * A bar with layers per second and the time left; where standard error is not a terminal, a line now
 * and then.
 */
export function progressOn(stream: NodeJS.WriteStream): Progress {
  const clock = new Clock();
  return stream.isTTY ? barOn(stream, clock) : linesOn(stream, clock);
}

function barOn(stream: NodeJS.WriteStream, clock: Clock): Progress {
  const bar = new SingleBar(
    {
      stream,
      barsize: Math.min(40, Math.max(4, (stream.columns || usualColumns) - barText - 1)),
      format: '{bar} {percentage}% | layer {value} of {total} | {rate} layers/s | {left} left',
      hideCursor: true,
      fps: 10,
    },
    Presets.shades_classic,
  );
  return {
    start(total) {
      clock.start(total);
      bar.start(total, 0, clock.at(0));
    },
    update(done) {
      bar.update(done, clock.at(done));
    },
    stop() {
      bar.stop();
    },
  };
}

function linesOn(stream: NodeJS.WriteStream, clock: Clock): Progress {
  let total = 0;
  let last = 0;
  return {
    start(layers) {
      total = layers;
      last = Date.now();
      clock.start(layers);
    },
    update(done) {
      if (Date.now() - last < linePause) return;
      last = Date.now();
      const { rate, left } = clock.at(done);
      stream.write(`layer ${done} of ${total}, ${rate} layers/s, ${left} left\n`);
    },
    stop() {},
  };
}

/** Layers per second, averaged over the last seconds, and what follows from it. */
class Clock {
  private marks: { time: number; done: number }[] = [];
  private total = 0;

  start(total: number): void {
    this.total = total;
    this.marks = [{ time: performance.now(), done: 0 }];
  }

  at(done: number): { rate: string; left: string } {
    const now = performance.now();
    if (now - this.marks[this.marks.length - 1].time > 250) this.marks.push({ time: now, done });
    while (this.marks.length > 2 && now - this.marks[0].time > 5000) this.marks.shift();
    const [first] = this.marks;
    const rate = (1000 * (done - first.done)) / (now - first.time);
    if (!(rate > 0)) return { rate: '-', left: '-' };
    return { rate: rateText(rate), left: durationText((this.total - done) / rate) };
  }
}
