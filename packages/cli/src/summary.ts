import type { SupportsDocument } from './output/documents.js';
import { counted, countText, durationText, lengthText, rateText } from './wording.js';

export interface Summary {
  name: string;
  /** What supports.json says. */
  document: SupportsDocument;
  seconds: number;
  /** Seconds of them that the layers and finishing took. */
  analysisSeconds: number;
  /** Bytes. */
  peakMemory: number;
  folder: string;
  files: readonly string[];
}

const mostLayersTold = 3;
const mostFilesTold = 4;

export function summaryText({ name, document, ...run }: Summary): string {
  const { layers, regions } = document.summary;
  const rows = [
    ['size', sizeText(document)],
    ['layers', countText(layers)],
    ['regions', countText(regions)],
    ...supportRows(document),
    ...holdRows(document),
    ...builtRows(document),
    [
      'time',
      `${durationText(run.seconds)}, the layers at ${rateText(layers / run.analysisSeconds)}/s`,
    ],
    ['peak memory', `${Math.round(run.peakMemory / 1e6)} MB`],
    ['written to', `${run.folder}/`],
    ...run.files.map((file) => ['', file]),
  ];
  const lines = rows.map(([title, value]) => `  ${title.padEnd(13)}${value}`);
  return `${[name, ...lines].join('\n')}\n`;
}

/** Of the box around all material: it tells a mesh in other units at once. */
function sizeText({ model: { min, max } }: SupportsDocument): string {
  return `${max.map((end, axis) => lengthText(end - min[axis])).join(' x ')} mm`;
}

/** z of the plate in the coordinates of the mesh, mm. */
function plateZ({ model, print }: SupportsDocument): number {
  return model.min[2] - (print.lift ?? 0);
}

function supportRows(document: SupportsDocument): string[][] {
  const { supports, summary, settings } = document;
  const rows: string[][] = [];
  const islands = supports.filter(({ kind }) => kind === 'island').length;
  const kinds = `${countText(islands)} under islands, ${countText(supports.length - islands)} under overhangs`;
  rows.push(['supports', supports.length === 0 ? '0' : `${countText(supports.length)} (${kinds})`]);
  rows.push(...plateRows(document));
  const analysed = supports.length - summary.added + summary.dropped;
  if (!settings.asAnalysed && analysed + summary.added > 0) {
    rows.push([
      'finished',
      `${countText(analysed)} ${analysed === 1 ? 'was' : 'were'} proposed: ${countText(summary.dropped)} merged or left out, ` +
        `${countText(summary.added)} added`,
    ]);
  }
  if (supports.length > 0) {
    // Not spread into Math.min(): there may be more of them than a call takes arguments.
    const heights = supports.map(({ z }) => z - plateZ(document)).sort((a, b) => a - b);
    rows.push(['lowest', heightText(heights[0])]);
    rows.push(['highest', heightText(heights[heights.length - 1])]);
  }
  return rows;
}

/** How many supports each mesh of a plate has: "3 foot.stl with 5 each, arm.stl with 12". */
function plateRows({ model, supports }: SupportsDocument): string[][] {
  const { plate } = model;
  if (plate === undefined) return [];
  const counts = plate.map(() => 0);
  for (const { part = 0 } of supports) counts[part]++;
  const files = [...new Set(plate.map(({ file }) => file))];
  const told = files.slice(0, mostFilesTold).map((file) => {
    const own = counts.filter((_, number) => plate[number].file === file);
    const [least, most] = [Math.min(...own), Math.max(...own)];
    if (own.length === 1) return `${file} with ${countText(most)}`;
    const each = least === most ? `${countText(most)} each` : `${countText(least)} to ${most}`;
    return `${countText(own.length)} ${file} with ${each}`;
  });
  const more = files.length > told.length ? `, ${files.length - told.length} others` : '';
  return [['by part', `${told.join(', ')}${more}`]];
}

/** The supports as geometry. */
function builtRows({ scaffold }: SupportsDocument): string[][] {
  if (scaffold === undefined) return [];
  const { built, stands, leftOut, braces, alone } = scaffold;
  const words = [
    [stands.plate, 'straight'],
    [stands.bridge, 'past the part'],
    [stands.part, 'on the part'],
    [stands.low, 'low'],
  ] as const;
  const kinds = words.filter(([count]) => count > 0).map(([n, how]) => `${countText(n)} ${how}`);
  const all = kinds.length > 0 ? `${countText(built)} (${kinds.join(', ')})` : countText(built);
  const left = leftOut.length > 0 ? [`${countText(leftOut.length)} left out`] : [];
  const rows = [['built', [all, ...left].join('; ')]];
  if (braces + alone.length > 0) {
    const free =
      alone.length > 0 ? [`${counted(alone.length, 'slender pillar')} out of reach`] : [];
    rows.push(['braces', [countText(braces), ...free].join('; ')]);
  }
  return rows;
}

/** What the supports hold, in words. */
function holdRows(document: SupportsDocument): string[][] {
  const { verdict, settings } = document;
  const { overhang, overhangWithoutRoom } = verdict;
  const rows = [['held', `${islandsText(document)}; ${overhangText(document)}`]];
  const [weakest] = verdict.worst;
  if (weakest !== undefined && weakest.distance !== null) {
    rows.push([
      'weakest',
      `layer ${weakest.layer}, ${heightText(weakest.z - plateZ(document))}: ` +
        `${weakest.distance.toFixed(1)} mm from the nearest support`,
    ]);
  }
  const unsupportable = Math.round(overhangWithoutRoom.area);
  if (unsupportable > 0) {
    rows.push([
      'without room',
      `${countText(unsupportable)} mm2 overhang less than ${settings.minimumHeight} mm above the ` +
        'plate or the part',
    ]);
  }
  const doubts = doubtsIn(document);
  if (doubts.length > 0) rows.push(['doubtful', doubts.join(', ')]);
  if (overhang.area > 0) {
    const isBuilt = document.scaffold !== undefined;
    const ways = 'forces, the resin, and whether a pillar finds its way';
    rows.push(['not judged', isBuilt ? 'forces and the resin' : ways]);
  }
  return rows;
}

function islandsText({ islands }: SupportsDocument): string {
  if (islands.length === 0) return 'no islands';
  const loose = islands.filter(({ heldBy }) => heldBy === null);
  const all = counted(islands.length, 'island');
  if (loose.length === 0) return `${all}, ${islands.length === 1 ? '' : 'all '}held`;
  const layers = [...new Set(loose.map(({ layer }) => layer))];
  const told = layers.slice(0, mostLayersTold).join(', ');
  const more = layers.length > mostLayersTold ? ' and more' : '';
  const where = `${layers.length === 1 ? 'layer' : 'layers'} ${told}${more}`;
  const size = loose.every(({ pixels }) => pixels === 1) ? ' of a single pixel' : '';
  return `${all}, ${countText(loose.length)}${size} not held (${where})`;
}

function overhangText({ verdict, supports }: SupportsDocument): string {
  const { area, beyondNear } = verdict.overhang;
  if (area === 0) return 'nothing overhangs where a support fits';
  const reach = `within ${verdict.nearReach} mm of a support`;
  if (beyondNear === 0) return `all of the overhanging surface ${reach}`;
  // Rounded down: 99.6 % is not all of it.
  const share = Math.floor(100 * (1 - beyondNear / area));
  return supports.length === 0
    ? `${countText(Math.ceil(area))} mm2 of overhanging surface without a support`
    : `${share} % of the overhanging surface ${reach}`;
}

/** Supports that a person would not have set. */
function doubtsIn({ verdict }: SupportsDocument): string[] {
  const pairs = verdict.closePairs.filter(({ isSeparate }) => !isSeparate).length;
  const idle = verdict.inNoMaterial.length + verdict.onHeldMaterial.length;
  const counts = [
    [pairs, 'pair', `closer than ${Number(verdict.spacing.toFixed(2))} mm`],
    [idle, 'support', 'where nothing overhangs'],
    [verdict.withoutRoom.length, 'support', 'without room below'],
    [verdict.inSealedVoids.length, 'support', 'in sealed voids'],
  ] as const;
  return counts
    .filter(([count]) => count > 0)
    .map(([count, what, fault]) => `${counted(count, what)} ${fault}`);
}

function heightText(millimetres: number): string {
  return `${millimetres.toFixed(2)} mm above the plate`;
}
