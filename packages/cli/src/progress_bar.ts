import { Presets, SingleBar } from 'cli-progress';
import { Course, type Progress, type State } from './progress.js';

/** Columns of a terminal, and those of the longest text beside the bar. */
export const usualColumns = 80;
export const longestText = ' 100% | layer 65535 of 65535 | 99,999 layers/s | 59 min 59 s left'
  .length;

/** A bar with layers per second and the time left, pictures included. */
export function progressBar(stream: NodeJS.WriteStream): Progress {
  const course = new Course();
  const bar = new SingleBar(
    {
      stream,
      barsize: Math.min(40, Math.max(4, (stream.columns || usualColumns) - longestText - 1)),
      format: '{bar} {percentage}% | {text}',
      hideCursor: true,
      fps: 10,
    },
    Presets.shades_classic,
  );
  const payload = ({ parts }: State): { text: string } => ({ text: parts.join(' | ') });
  const show = (state: State): void => bar.update(state.share, payload(state));
  return {
    start(layers, pictureSeconds) {
      bar.start(1, 0, payload(course.start(layers, pictureSeconds)));
    },
    layers: (done) => show(course.layers(done)),
    supports: (share) => show(course.supports(share)),
    files: (share) => show(course.files(share)),
    report: (share) => show(course.report(share)),
    pictures: (share) => show(course.pictures(share)),
    stop: () => bar.stop(),
  };
}
