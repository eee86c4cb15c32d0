import {
  analysePart,
  type Host,
  isLackOfMemory,
  loadMesh,
  outOfMemory,
  packedReport,
  placedMesh,
  placementOf,
  preparePart,
  type SupportedPart,
} from 'stiltforge-cli/part';
import type { PackedPart } from 'stiltforge-viewer';
import type { PartSettings, Progress } from './protocol.js';

export interface AnalysedPart {
  part: SupportedPart;
  packed: PackedPart;
}

/** The road of the command with --report, from the bytes of a mesh file. Throws as its steps do. */
export async function analysedPart(
  name: string,
  bytes: ArrayBuffer,
  { placement, print, support }: PartSettings,
  host: Host,
  tell: (progress: Progress) => void,
): Promise<AnalysedPart> {
  try {
    tell({ step: 'reading', share: 0, layers: 0 });
    const file = await loadMesh(bytes, undefined, name);
    const job = {
      name,
      mesh: placedMesh(file, name, placement),
      meshWarnings: file.warnings,
      placement: placementOf(placement),
      print,
      support,
    };
    const prepared = preparePart(job, { pictures: false, report: true }, host);
    const layers = prepared.slicer.layerCount;
    const part = await analysePart(prepared, {
      layers: (done) => tell({ step: 'layers', share: done / layers, layers }),
    });
    tell({ step: 'packing', share: 0, layers });
    const packed = await packedReport(part, (share) => tell({ step: 'packing', share, layers }));
    return { part, packed };
  } catch (error) {
    throw isLackOfMemory(error) ? outOfMemory(name, error) : error;
  }
}
