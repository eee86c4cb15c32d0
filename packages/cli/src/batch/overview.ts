import { textTable } from '../plain_text.js';
import { counted, countText, durationText } from '../wording.js';
import type { Outcome, RunResult } from './outcome.js';

/** One line an input: its points, what they hold, the time and where it all is; below, what was wrong. */
export function overviewText(outcomes: readonly Outcome<RunResult>[]): string {
  const rows = outcomes.map(({ file, result }) =>
    result
      ? [
          file,
          countText(result.summary.supports),
          heldText(result),
          durationText(result.seconds),
          `${result.folder}/`,
        ]
      : [file, '', 'FAILED, see below', '', ''],
  );
  const head = ['', 'points', 'held', 'time', 'written to'];
  const lines = textTable(rows, head, [false, true, false, true, false]);
  const failures = outcomes.flatMap(({ error }) => (error ? [error.message.split('\n')[0]] : []));
  if (failures.length > 0) {
    lines.push('', `${failures.length} of ${counted(outcomes.length, 'input')} failed:`);
    lines.push(...failures.map((failure) => `  ${failure}`));
  }
  return `${lines.join('\n')}\n`;
}

function heldText({ summary, overhang }: RunResult): string {
  const { islands, heldIslands } = summary;
  const { area, beyondNear, nearReach } = overhang;
  const ofIslands =
    islands === 0 ? 'no islands' : `${countText(heldIslands)} of ${counted(islands, 'island')}`;
  if (area === 0) return `${ofIslands}, no overhang`;
  // Rounded down: 99.6 % is not all of it.
  const share = Math.floor(100 * (1 - beyondNear / area));
  return `${ofIslands}, ${share} % of overhang within ${nearReach} mm`;
}
