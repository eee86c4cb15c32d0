import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { checkPrint } from 'stiltforge/check';
import {
  type PackedPart,
  type PackOptions,
  type PartSource,
  packPart,
  reportHtml,
} from 'stiltforge-viewer';
import { besidePoints, packedReport, type ReportedPart } from './packed_report.js';

/**
 * A page with all that there is to see of a part, in one file. The same part gives the same page.
 * `progress` is told the share that is done, from 0 to 1. Throws the signal's reason.
 */
export async function reportPage(
  part: ReportedPart,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<string> {
  const check = await besideVerdict(part, signal);
  return pageWith(await packedReport({ ...part, check }, progress, signal));
}

/** The same of what a program knows of a part. */
export async function pageOf(source: PartSource, options: PackOptions): Promise<string> {
  return pageWith(await packPart(source, options));
}

async function pageWith(packed: PackedPart): Promise<string> {
  const page = createRequire(import.meta.url).resolve('stiltforge-viewer/report.html');
  return reportHtml(await readFile(page, 'utf8'), packed);
}

/** What a check finds in the part, of which the verdict on its points says nothing. */
async function besideVerdict(
  { slicer, part, document }: ReportedPart,
  signal?: AbortSignal,
): Promise<ReportedPart['check']> {
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
