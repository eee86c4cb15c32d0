import {
  partWithSupportsStl,
  pointsCsv,
  supportsJson,
  supportsStl,
  threeMfProject,
} from 'stiltforge-cli/part';
import { reportHtml } from 'stiltforge-viewer';
import type { AnalysedPart } from './analysed_part.js';
import type { FileFormat } from './protocol.js';

export interface SavedFile {
  file: Blob;
  /** Sentences that a person should read. */
  warnings: readonly string[];
}

/** A file as the command writes it; `template` is the page of a report without its part. */
export async function fileOf(
  analysed: AnalysedPart,
  format: FileFormat,
  template: string,
): Promise<SavedFile> {
  const { part, packed } = analysed;
  switch (format) {
    case 'json':
      return plain(supportsJson(part.document), 'application/json');
    case 'csv':
      return plain(pointsCsv(part.document.supports), 'text/csv');
    case 'report':
      return plain(reportHtml(template, packed), 'text/html');
    case '3mf': {
      if (!('mesh' in part)) throw new Error('a print has no mesh for a project');
      return { file: await inPieces(threeMfProject(part), 'model/3mf'), warnings: [] };
    }
    case 'stl':
    case 'merged':
      return geometryOf(analysed, format);
  }
}

async function geometryOf(
  { part, built }: AnalysedPart,
  format: 'stl' | 'merged',
): Promise<SavedFile> {
  const { scaffold, warnings } = await built();
  if (!('mesh' in part)) throw new Error('a print has no mesh to stand on supports');
  const pieces = format === 'stl' ? supportsStl(scaffold) : partWithSupportsStl(part, scaffold);
  return { file: await inPieces(pieces, 'model/stl'), warnings };
}

function plain(text: string, type: string): SavedFile {
  return { file: new Blob([text], { type }), warnings: [] };
}

async function inPieces(pieces: AsyncIterable<Uint8Array>, type: string): Promise<Blob> {
  const parts: BlobPart[] = [];
  for await (const piece of pieces) parts.push(piece as Uint8Array<ArrayBuffer>);
  return new Blob(parts, { type });
}
