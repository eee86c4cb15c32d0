import { type CheckReport, checkPrint, type FindingKind } from 'stiltforge/check';
import type { Scaffold } from 'stiltforge/scaffold';
import { type CheckRecord, type PackedPart, type PartSource, packPart } from 'stiltforge-viewer';
import type { HeldPart } from '../held_part.js';
import type { SupportedPart } from '../supported_part.js';
import type { SupportsDocument } from './documents.js';
import { usualScaffold } from './usual_scaffold.js';

/** What a page shows of a part. */
export type ReportedPart = Pick<
  SupportedPart,
  'document' | 'part' | 'mesh' | 'slicer' | 'owedPixels'
> & {
  /** Its supports as geometry, where they are built already. */
  built?: Scaffold;
};

/** Of the time, about. */
const buildingShare = 0.2;

/**
 * All that there is to see of a part, for the page of a report. `progress` is told the share that is
 * done, from 0 to 1. Throws the signal's reason.
 */
export async function packedReport(
  reportedPart: ReportedPart,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<PackedPart> {
  const { document, part, mesh, slicer, owedPixels } = reportedPart;
  const check = await besideVerdict(reportedPart, signal);
  const scaffold =
    reportedPart.built ??
    (await usualScaffold({
      ...{ positions: mesh, points: document.supports, plateZ: slicer.plateZ },
      ...{ layerHeight: document.print.layerHeight, signal },
      progress: (share) => progress?.(buildingShare * share),
    }));
  const source: PartSource = {
    part: { ...reported(document, part), check },
    positions: mesh,
    runs: (first, count) => slicer.runs(first, count),
    strength: strengthOf(document, owedPixels),
    scaffold,
  };
  const packing = (share: number): void => progress?.(buildingShare + (1 - buildingShare) * share);
  return packPart(source, { progress: packing, signal });
}

/** What a check finds in the part, of which the verdict on its points says nothing. */
async function besideVerdict(
  { slicer, part, document }: ReportedPart,
  signal?: AbortSignal,
): Promise<CheckRecord> {
  const { layerHeight, pixelSize, screenWidth, screenHeight, lift } = document.print;
  const { criticalAngle } = document.settings;
  const points = part.points.map(({ layer, column, row }) => ({
    ...{ layer, column: slicer.cropX + column, row: slicer.cropY + row },
  }));
  const print = { layerHeight, pixelWidth: pixelSize, screenWidth, screenHeight, lift };
  const { plateZ } = slicer;
  return besidePoints(
    await checkPrint(slicer, { ...print, plateZ, points, criticalAngle, signal }),
  );
}

/** mm2 of each layer: what nothing held, and what its points hold. */
export function strengthOf(
  { print, settings, parameters, supports }: SupportsDocument,
  owedPixels: Float64Array,
): PartSource['strength'] {
  const given = new Array<number>(print.layers).fill(0);
  for (const { layer, kind } of supports) {
    const factor = kind === 'island' ? parameters.islandStrengthSupport : 1;
    given[layer] += factor * settings.supportArea;
  }
  return {
    owed: Array.from(owedPixels, (pixels) => pixels * print.pixelSize ** 2),
    given,
  };
}

/** Of what a check finds that of which the points' own verdict knows nothing. */
const besides: readonly FindingKind[] = ['screenEdge', 'resinTrap', 'suctionCup', 'specks'];

export function besidePoints({ findings }: CheckReport): CheckRecord {
  return { findings: findings.filter(({ kind }) => besides.includes(kind)) };
}

/** The document with what the page tells beside it. */
export function reported(document: SupportsDocument, { points }: HeldPart): PartSource['part'] {
  return {
    ...document,
    supports: document.supports.map((support, number) => ({
      ...support,
      standsFor: support.merged?.length ?? 0,
      weight: points[number].region ?? undefined,
    })),
    verdict: {
      ...document.verdict,
      islands: document.islands.filter(({ heldBy }) => heldBy === null),
    },
  };
}
