import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import type { Slicer, Triangles } from 'stiltforge/slicing';
import { type PartSource, packPart, reportHtml } from 'stiltforge-viewer';
import { pillarFeet } from '../pictures/pillars.js';
import type { SupportsDocument } from './documents.js';

export interface ReportedPart {
  document: SupportsDocument;
  mesh: Triangles;
  slicer: Slicer;
}

/**
 * A page with all that there is to see of a part, in one file. The same part gives the same page.
 * Throws the signal's reason.
 */
export async function reportPage(
  { document, mesh, slicer }: ReportedPart,
  signal: AbortSignal,
): Promise<string> {
  const places = Float32Array.from(document.supports.flatMap(({ x, y, z }) => [x, y, z]));
  const source: PartSource = {
    part: document,
    positions: mesh,
    runs: (first, count) => slicer.runs(first, count),
    feet: pillarFeet(places, mesh, document.model.min[2]),
  };
  const page = createRequire(import.meta.url).resolve('stiltforge-viewer/report.html');
  return reportHtml(await readFile(page, 'utf8'), await packPart(source, { signal }));
}
