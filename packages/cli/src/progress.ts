import { durationText, rateText } from './wording.js';

/** Shows how far a run is. */
export interface Progress {
  /** `pictureSeconds`: what the pictures will take, as far as that is known. */
  start(layers: number, pictureSeconds: number): void;
  /** So many layers are analysed. */
  layers(done: number): void;
  /** All are, and of the supports as geometry the share is built. */
  supports(share: number): void;
  /** They are, too, and of the files with geometry the share is written. */
  files(share: number): void;
  /** They are, too, and of the report the share is made. */
  report(share: number): void;
  /** It is, too, and of the pictures the share is drawn. */
  pictures(share: number): void;
  stop(): void;
}

export const noProgress: Progress = {
  start() {},
  layers() {},
  supports() {},
  files() {},
  report() {},
  pictures() {},
  stop() {},
};

/** Milliseconds between lines where no bar can be drawn. */
const linePause = 5000;

/** A line now and then, for a stream that is no terminal; `prefix` says of what. */
export function progressLines(stream: NodeJS.WritableStream, prefix = ''): Progress {
  const course = new Course();
  let last = 0;
  const write = (state: State): void => {
    if (performance.now() - last < linePause) return;
    last = performance.now();
    stream.write(`${prefix}${state.parts.join(', ')}\n`);
  };
  return {
    start(layers, pictureSeconds) {
      last = performance.now();
      course.start(layers, pictureSeconds);
    },
    layers: (done) => write(course.layers(done)),
    supports: (share) => write(course.supports(share)),
    files: (share) => write(course.files(share)),
    report: (share) => write(course.report(share)),
    pictures: (share) => write(course.pictures(share)),
    stop() {},
  };
}

export interface State {
  /** Of the time that the run takes, from 0 to 1. */
  share: number;
  /** What a person reads: "layer 540 of 1,200", "587 layers/s", "2 s left". */
  parts: string[];
}

/** Layers per second, averaged over the last seconds, and what follows from it. */
export class Course {
  private marks: { time: number; done: number }[] = [];
  private total = 0;
  private pictureSeconds = 0;
  private began = 0;
  private drawingBegan = 0;
  private step = { name: '', began: 0 };
  private shown = 0;

  start(layers: number, pictureSeconds: number): State {
    this.total = layers;
    this.pictureSeconds = pictureSeconds;
    this.began = performance.now();
    this.shown = 0;
    this.drawingBegan = 0;
    this.step = { name: '', began: 0 };
    this.marks = [{ time: this.began, done: 0 }];
    return this.layers(0);
  }

  layers(done: number): State {
    const now = performance.now();
    const { marks } = this;
    if (now - marks[marks.length - 1].time > 250) marks.push({ time: now, done });
    while (marks.length > 2 && now - marks[0].time > 5000) marks.shift();
    const rate = (1000 * (done - marks[0].done)) / (now - marks[0].time);
    const layer = `layer ${done} of ${this.total}`;
    if (!(rate > 0)) return { share: this.shown, parts: [layer, '- layers/s', '- left'] };
    const left = (this.total - done) / rate + this.pictureSeconds;
    return this.state(left, [layer, `${rateText(rate)} layers/s`]);
  }

  supports(share: number): State {
    return this.before('building the supports', share);
  }

  files(share: number): State {
    return this.before('writing the files', share);
  }

  report(share: number): State {
    return this.before('writing the report', share);
  }

  pictures(share: number): State {
    this.drawingBegan ||= performance.now();
    const elapsed = (performance.now() - this.drawingBegan) / 1000;
    // The more is drawn, the more counts how long it took.
    const rest = (1 - share) * (share > 0 ? elapsed / share : 0);
    const left = share * rest + (1 - share) * (1 - share) * this.pictureSeconds;
    return this.state(left, ['drawing pictures']);
  }

  /** A step before the pictures; how long it takes follows from how long it took. */
  private before(name: string, share: number): State {
    const now = performance.now();
    if (this.step.name !== name) this.step = { name, began: now };
    const elapsed = (now - this.step.began) / 1000;
    const rest = share > 0 ? (elapsed / share) * (1 - share) : 0;
    return this.state(rest + this.pictureSeconds, [name]);
  }

  /** The bar never goes back, though the time left may grow. */
  private state(secondsLeft: number, parts: string[]): State {
    const elapsed = (performance.now() - this.began) / 1000;
    this.shown = Math.max(this.shown, elapsed / (elapsed + secondsLeft));
    return { share: this.shown, parts: [...parts, `${durationText(secondsLeft)} left`] };
  }
}
