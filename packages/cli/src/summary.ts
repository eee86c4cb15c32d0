import type { SupportRecord } from './output/documents.js';
import { countText, durationText, rateText } from './wording.js';

export interface Summary {
  name: string;
  layers: number;
  regions: number;
  islands: number;
  supportedIslands: number;
  singlePixelIslands: number;
  supports: readonly SupportRecord[];
  /** z of the plate in the model's coordinates, mm. */
  plateZ: number;
  seconds: number;
  /** Seconds of them that the layers took. */
  analysisSeconds: number;
  /** Bytes. */
  peakMemory: number;
  folder: string;
  files: readonly string[];
}

export function summaryText(summary: Summary): string {
  const { layers, supports, plateZ } = summary;
  const islands = supports.filter(({ kind }) => kind === 'island').length;
  // Not spread into Math.min(): there may be more of them than a call takes arguments.
  const heights = supports.map(({ z }) => z - plateZ).sort((a, b) => a - b);
  const height = (z: number): string => `${z.toFixed(2)} mm above the plate`;
  const rows = [
    ['layers', countText(layers)],
    ['regions', countText(summary.regions)],
    ['islands', islandsText(summary)],
    [
      'supports',
      supports.length === 0
        ? '0'
        : `${countText(supports.length)} (${countText(islands)} under islands, ${countText(supports.length - islands)} under overhangs)`,
    ],
    ...(supports.length === 0
      ? []
      : [
          ['lowest', height(heights[0])],
          ['highest', height(heights[heights.length - 1])],
        ]),
    [
      'time',
      `${durationText(summary.seconds)}, the layers at ${rateText(layers / summary.analysisSeconds)}/s`,
    ],
    ['peak memory', `${Math.round(summary.peakMemory / 1e6)} MB`],
    ['written to', `${summary.folder}/`],
    ...summary.files.map((file) => ['', file]),
  ];
  const lines = rows.map(([name, value]) => `  ${name.padEnd(13)}${value}`);
  return `${[summary.name, ...lines].join('\n')}\n`;
}

/** Not every island has a support, and a person wants to know why. */
function islandsText({ islands, supportedIslands, singlePixelIslands }: Summary): string {
  const withinReach = islands - supportedIslands - singlePixelIslands;
  const fates = [
    [supportedIslands, 'supported'],
    [singlePixelIslands, 'of a single pixel'],
    [withinReach, 'within reach of what is beside them'],
  ] as const;
  const told = fates
    .filter(([count]) => count > 0)
    .map(([count, fate]) => `${countText(count)} ${fate}`);
  return islands === 0 ? '0' : `${countText(islands)} (${told.join(', ')})`;
}
