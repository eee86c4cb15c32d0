import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import {
  type PackedPart,
  type PackOptions,
  type PartSource,
  packPart,
  reportHtml,
} from 'stiltforge-viewer';
import { packedReport, type ReportedPart } from './packed_report.js';

/**
 * A page with all that there is to see of a part, in one file. The same part gives the same page.
 * `progress` is told the share that is done, from 0 to 1. Throws the signal's reason.
 */
export async function reportPage(
  part: ReportedPart,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<string> {
  return pageWith(await packedReport(part, progress, signal));
}

/** The same of what a program knows of a part. */
export async function pageOf(source: PartSource, options: PackOptions): Promise<string> {
  return pageWith(await packPart(source, options));
}

/** The same of a part that is packed. */
export async function pageWith(packed: PackedPart): Promise<string> {
  const page = createRequire(import.meta.url).resolve('stiltforge-viewer/report.html');
  return reportHtml(await readFile(page, 'utf8'), packed);
}
