import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { reportHtml } from 'stiltforge-viewer';
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
  const page = createRequire(import.meta.url).resolve('stiltforge-viewer/report.html');
  const packed = await packedReport(part, progress, signal);
  return reportHtml(await readFile(page, 'utf8'), packed);
}
