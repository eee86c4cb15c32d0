import { basename } from 'node:path';
import type { Orientation, OrientationMeasures, OrientResult } from 'stiltforge/orientation';
import { countText, durationText, rateText } from '../wording.js';

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

interface Column {
  title: string;
  text(measures: OrientationMeasures): string;
  value(measures: OrientationMeasures): number;
}

const columns: Column[] = [
  { title: 'supports', value: (m) => m.points, text: (m) => countText(m.points) },
  { title: 'overhang mm2', value: (m) => m.overhang, text: (m) => rounded(m.overhang) },
  { title: 'islands', value: (m) => m.islands, text: (m) => countText(m.islands) },
  { title: 'height mm', value: (m) => m.height, text: (m) => m.height.toFixed(1) },
  { title: 'cups mm3', value: (m) => m.cups, text: (m) => rounded(m.cups) },
];

const marks: Column = {
  title: 'marked mm2',
  value: (m) => m.marks,
  text: (m) => rounded(m.marks),
};

const origins: Record<Orientation['origin'], string> = {
  asItIs: 'as it is',
  flatSide: 'on a flat side',
  spread: 'tilted',
  nearby: 'tilted',
};

function rounded(value: number): string {
  return countText(Math.round(value));
}

/** "-43 %"; nothing where what it is compared with shows as 0. */
function gain(now: number, before: number, shownBefore: string): string {
  if (Number(shownBefore) === 0) return '';
  const percent = Math.round(100 * (now / before - 1));
  return percent > 0 ? `+${countText(percent)} %` : `${percent} %`;
}

/** Degrees as `--rotate` takes them. */
export function turnText({ turn }: Orientation): string {
  return turn.map((degrees) => String(Number(degrees.toFixed(3)))).join(',');
}

export function tableText({
  name,
  result,
  hasCleanSide,
  seconds,
  folder,
  files,
}: OrientReport): string {
  const { asItIs, best, tried } = result;
  const shown = hasCleanSide ? [...columns, marks] : columns;
  const row = (title: string, orientation: Orientation, before?: Orientation): string[] => [
    title,
    origins[orientation.origin],
    turnText(orientation),
    ...shown.flatMap(({ text, value }) => [
      text(orientation.measures),
      before === undefined
        ? ''
        : gain(value(orientation.measures), value(before.measures), text(before.measures)),
    ]),
    orientation.cost.toFixed(2),
    before === undefined ? '' : gain(orientation.cost, before.cost, before.cost.toFixed(2)),
  ];
  const heading = ['', '', '--rotate', ...shown.flatMap(({ title }) => [title, '']), 'cost', ''];
  const rows = [
    heading,
    ...(asItIs === undefined ? [] : [row('file', asItIs)]),
    ...best.map((orientation, i) =>
      row(String(i + 1), orientation, orientation.origin === 'asItIs' ? undefined : asItIs),
    ),
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
  const instead = asItIs === undefined ? '' : ` instead of ${countText(asItIs.measures.points)}`;
  return `Best: --rotate ${turnText(first)}, ${countText(first.measures.points)} supports${instead}.`;
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

/** Everything, for machines: what --json prints, and orientations.json. The same for the same part. */
export function orientationsJson(name: string, result: OrientResult, generator: string): string {
  const { asItIs, best, tried, pixelSize, layerHeight } = result;
  const document = {
    schemaVersion: 1,
    generator,
    model: { file: basename(name) },
    search: { tried, pixelSize, layerHeight },
    asItIs: asItIs ?? null,
    best,
  };
  return `${JSON.stringify(document, null, 2)}\n`;
}
