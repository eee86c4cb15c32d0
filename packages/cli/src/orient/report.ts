import type { OrientationMeasures, OrientResult } from 'stiltforge/orientation';
import { countText, durationText, rateText } from '../wording.js';
import { orientationColumns, orientationRows, turnText } from './ranking.js';

/** What the command found, for people and for files. */
export interface OrientReport {
  /** The mesh file. */
  name: string;
  result: OrientResult;
  /** What orientations.json says. */
  json: string;
  /** A side was to be kept clean. */
  hasCleanSide: boolean;
  /** Of the search. */
  seconds: number;
  folder: string;
  files: readonly string[];
}

export function tableText({
  name,
  result,
  hasCleanSide,
  seconds,
  folder,
  files,
}: OrientReport): string {
  const { asItIs, tried } = result;
  const titles = orientationColumns(hasCleanSide).flatMap(({ title }) => [title, '']);
  const rows = [
    ['', '', '--rotate', ...titles],
    ...orientationRows(result, hasCleanSide).map(({ rank, origin, orientation, figures }) => [
      rank === undefined ? 'file' : String(rank),
      origin,
      turnText(orientation),
      ...figures.flatMap(({ text, gain }) => [text, gain]),
    ]),
  ];
  const lines = [
    `${name}: ${countText(tried)} orientations tried in ${durationText(seconds)} ` +
      `(${rateText((60 * tried) / seconds)} a minute)`,
    '',
    ...aligned(rows),
    '',
    ...(asItIs === undefined ? ['  As it is the part does not fit on the screen.'] : []),
    `  ${advice(result)}`,
    `  written to ${folder}/: ${files.join(', ')}`,
  ];
  return `${lines.join('\n')}\n`;
}

function advice({ asItIs, best }: OrientResult): string {
  const [first] = best;
  if (first === undefined) return 'No orientation could be printed.';
  if (first.origin === 'asItIs') return 'It stands best as it is.';
  const found = `Best: --rotate ${turnText(first)}, ${countText(first.measures.points)} supports`;
  if (asItIs === undefined) return `${found}.`;
  const instead = `${found} instead of ${countText(asItIs.measures.points)}`;
  if (first.measures.points < asItIs.measures.points) return `${instead}.`;
  return `${instead}${reasonBeyondSupports(first.measures, asItIs.measures)}.`;
}

const otherMeasures = [
  ['overhang', 'mm2 of overhang'],
  ['cups', 'mm3 in cups'],
  ['islands', 'islands'],
  ['marks', 'mm2 of marks'],
  ['height', 'mm of height'],
] as const;

/** What an orientation that takes no fewer supports is better by. */
function reasonBeyondSupports(best: OrientationMeasures, asItIs: OrientationMeasures): string {
  const left = (measure: keyof OrientationMeasures) => best[measure] / asItIs[measure];
  const [most] = otherMeasures
    .filter(([measure]) => best[measure] < asItIs[measure])
    .sort(([a], [b]) => left(a) - left(b));
  if (most === undefined) return '';
  const [measure, unit] = most;
  const [now, before] = [best, asItIs].map((one) => countText(Math.round(one[measure])));
  return `, but ${now} ${unit} instead of ${before}`;
}

/** Text to the left, numbers to the right. */
function aligned(rows: readonly string[][]): string[] {
  const widths = rows[0].map((_, i) => Math.max(...rows.map((cells) => cells[i].length)));
  return rows.map((cells) =>
    cells
      .map((cell, i) => (i < 3 ? cell.padEnd(widths[i]) : cell.padStart(widths[i])))
      .map((cell, i) => (widths[i] === 0 ? '' : `  ${cell}`))
      .join('')
      .trimEnd(),
  );
}
