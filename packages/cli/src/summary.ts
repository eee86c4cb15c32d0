import type { SupportRecord } from './output/documents.js';
import { durationText } from './progress.js';
import type { MeshReport } from './slicer.js';

export interface Summary {
  name: string;
  layers: number;
  regions: number;
  islands: number;
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
  const rate = Math.round(layers / summary.analysisSeconds);
  const rows = [
    ['layers', count(layers)],
    ['regions', count(summary.regions)],
    ['islands', count(summary.islands)],
    [
      'supports',
      supports.length === 0
        ? '0'
        : `${count(supports.length)} (${count(islands)} under islands, ${count(supports.length - islands)} under overhangs)`,
    ],
    ...(supports.length === 0
      ? []
      : [
          ['lowest', height(heights[0])],
          ['highest', height(heights[heights.length - 1])],
        ]),
    ['time', `${durationText(summary.seconds)}, the layers at ${count(rate)}/s`],
    ['peak memory', `${Math.round(summary.peakMemory / 1e6)} MB`],
    ['written to', `${summary.folder}/`],
    ...summary.files.map((file) => ['', file]),
  ];
  const lines = rows.map(([name, value]) => `  ${name.padEnd(13)}${value}`);
  return `${[summary.name, ...lines].join('\n')}\n`;
}

function count(value: number): string {
  return value.toLocaleString('en-US');
}

/** Sentences about a mesh that a person should read before trusting its supports. */
export function meshWarnings(report: MeshReport, sliceVolume: number): string[] {
  const warnings: string[] = [];
  if (report.openEdges > 0) {
    warnings.push(
      `The mesh has ${count(report.openEdges)} open edges, so what is inside was guessed: ` +
        'look at the slices, or repair the mesh.',
    );
  }
  const difference = sliceVolume / report.expectedVolume - 1;
  if (!(Math.abs(difference) <= 0.01)) {
    const volume = (value: number): string => `${count(Math.round(value))} mm3`;
    warnings.push(
      `The slices hold ${volume(sliceVolume)}, ${(100 * Math.abs(difference)).toFixed(1)} % ` +
        `${difference < 0 ? 'less' : 'more'} than the mesh's ${volume(report.expectedVolume)}: ` +
        'parts overlap, are open or inside out, or are thinner than a pixel.',
    );
  }
  return warnings;
}
