import type { Orientation, OrientResult } from 'stiltforge/orientation';
import { nameOfPath } from '../name_of_path.js';
import { countText } from '../wording.js';

export interface OrientationColumn {
  title: string;
  text(orientation: Orientation): string;
  value(orientation: Orientation): number;
}

const columns: readonly OrientationColumn[] = [
  {
    title: 'supports',
    value: ({ measures }) => measures.points,
    text: ({ measures }) => countText(measures.points),
  },
  {
    title: 'overhang mm2',
    value: ({ measures }) => measures.overhang,
    text: ({ measures }) => rounded(measures.overhang),
  },
  {
    title: 'islands',
    value: ({ measures }) => measures.islands,
    text: ({ measures }) => countText(measures.islands),
  },
  {
    title: 'height mm',
    value: ({ measures }) => measures.height,
    text: ({ measures }) => measures.height.toFixed(1),
  },
  {
    title: 'cups mm3',
    value: ({ measures }) => measures.cups,
    text: ({ measures }) => rounded(measures.cups),
  },
];

const marks: OrientationColumn = {
  title: 'marked mm2',
  value: ({ measures }) => measures.marks,
  text: ({ measures }) => rounded(measures.marks),
};

const cost: OrientationColumn = {
  title: 'cost',
  value: (orientation) => orientation.cost,
  text: (orientation) => orientation.cost.toFixed(2),
};

export function orientationColumns(hasCleanSide: boolean): OrientationColumn[] {
  return [...columns, ...(hasCleanSide ? [marks] : []), cost];
}

const origins: Record<Orientation['origin'], string> = {
  asItIs: 'as it is',
  flatSide: 'on a flat side',
  spread: 'tilted',
  nearby: 'tilted',
};

export interface OrientationRow {
  /** From 1; undefined of the part as it is. */
  rank: number | undefined;
  origin: string;
  orientation: Orientation;
  /** In the order of the columns; gain: over the part as it is, where there is one to be told. */
  figures: { text: string; gain: string }[];
}

/** The part as it is, where it fits on the screen, and the best, the best first. */
export function orientationRows(
  { asItIs, best }: OrientResult,
  hasCleanSide: boolean,
): OrientationRow[] {
  const shown = orientationColumns(hasCleanSide);
  const row = (
    rank: number | undefined,
    orientation: Orientation,
    before?: Orientation,
  ): OrientationRow => ({
    ...{ rank, orientation },
    origin: origins[orientation.origin],
    figures: shown.map(({ text, value }) => ({
      text: text(orientation),
      gain: before === undefined ? '' : gain(value(orientation), value(before), text(before)),
    })),
  });
  return [
    ...(asItIs === undefined ? [] : [row(undefined, asItIs)]),
    ...best.map((orientation, i) =>
      row(i + 1, orientation, orientation.origin === 'asItIs' ? undefined : asItIs),
    ),
  ];
}

function rounded(value: number): string {
  return countText(Math.round(value));
}

/** "-43 %"; nothing where what it is compared with shows as 0. */
function gain(now: number, before: number, shownBefore: string): string {
  if (Number(shownBefore) === 0) return '';
  const percent = Math.round(100 * (now / before - 1));
  return percent > 0 ? `+${countText(percent)} %` : `${percent} %`;
}

/** Degrees about x, y and z, as few digits as a print can tell. */
export function roundedTurn({
  turn,
}: Pick<Orientation, 'turn'>): [x: number, y: number, z: number] {
  const [x, y, z] = turn.map((degrees) => Number(degrees.toFixed(3)) + 0);
  return [x, y, z];
}

/** Degrees as `--rotate` takes them. */
export function turnText({ turn }: Orientation): string {
  return turn.map((degrees) => String(Number(degrees.toFixed(3)))).join(',');
}

/** Everything, for machines: what --json prints, and orientations.json. The same for the same part. */
export function orientationsJson(name: string, result: OrientResult, generator: string): string {
  const { asItIs, best, tried, pixelSize, layerHeight } = result;
  const document = {
    schemaVersion: 1,
    generator,
    model: { file: nameOfPath(name) },
    search: { tried, pixelSize, layerHeight },
    asItIs: asItIs ?? null,
    best,
  };
  return `${JSON.stringify(document, null, 2)}\n`;
}
