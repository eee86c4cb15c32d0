import { Presets, SingleBar } from 'cli-progress';

/** Shows how many orientations are done. */
export interface OrientProgress {
  show(done: number, total: number): void;
  stop(): void;
}

/** Milliseconds between lines where no bar can be drawn. */
const linePause = 5000;

/** A bar, or a line now and then where the stream is no terminal. */
export function orientProgress(stream: NodeJS.WriteStream): OrientProgress {
  return stream.isTTY ? bar(stream) : lines(stream);
}

function lines(stream: NodeJS.WritableStream): OrientProgress {
  let last = performance.now();
  return {
    show(done, total) {
      if (performance.now() - last < linePause) return;
      last = performance.now();
      stream.write(`orientation ${done} of ${total}\n`);
    },
    stop() {},
  };
}

function bar(stream: NodeJS.WriteStream): OrientProgress {
  const format = '{bar} {percentage}% | orientation {value} of {total}';
  const drawn = new SingleBar(
    { stream, format, hideCursor: true, fps: 10 },
    Presets.shades_classic,
  );
  let isStarted = false;
  return {
    show(done, total) {
      if (!isStarted) drawn.start(total, done);
      isStarted = true;
      drawn.setTotal(total);
      drawn.update(done);
    },
    stop: () => drawn.stop(),
  };
}
