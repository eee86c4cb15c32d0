import { pointsCsv, supportsJson, threeMfProject } from 'stiltforge-cli/part';
import { reportHtml } from 'stiltforge-viewer';
import type { AnalysedPart } from './analysed_part.js';
import type { FileFormat } from './protocol.js';

/** A file as the command writes it; `template` is the page of a report without its part. */
export async function fileOf(
  { part, packed }: AnalysedPart,
  format: FileFormat,
  template: string,
): Promise<Blob> {
  switch (format) {
    case 'json':
      return new Blob([supportsJson(part.document)], { type: 'application/json' });
    case 'csv':
      return new Blob([pointsCsv(part.document.supports)], { type: 'text/csv' });
    case 'report':
      return new Blob([reportHtml(template, packed)], { type: 'text/html' });
    case '3mf': {
      if (!('mesh' in part)) throw new Error('a print has no mesh for a project');
      const pieces: BlobPart[] = [];
      for await (const piece of threeMfProject(part)) pieces.push(piece as Uint8Array<ArrayBuffer>);
      return new Blob(pieces, { type: 'model/3mf' });
    }
  }
}
