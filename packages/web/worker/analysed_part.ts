import { isPrinterFile } from 'stiltforge/slicing';
import {
  analyseLayers,
  analysePart,
  asUserError,
  type Host,
  isLackOfMemory,
  loadMesh,
  openPrint,
  outOfMemory,
  packedPrint,
  packedReport,
  placedMesh,
  placementOf,
  preparePart,
  preparePrint,
  type SupportedPart,
  type SupportedPrint,
} from 'stiltforge-cli/part';
import type { PackedPart } from 'stiltforge-viewer';
import { requireAsItIs } from './print_settings.js';
import type { PartSettings, Progress } from './protocol.js';

export interface AnalysedPart {
  part: SupportedPart | SupportedPrint;
  packed: PackedPart;
}

interface PartFile {
  name: string;
  bytes: ArrayBuffer;
}

type Teller = (progress: Progress) => void;

/** The road of the command with --report, from the bytes of a file. Throws as its steps do. */
export async function analysedPart(
  file: PartFile,
  settings: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  try {
    tell({ step: 'reading', share: 0, layers: 0 });
    const road = isPrinterFile(file.bytes, file.name) ? analysedPrint : analysedMesh;
    return await road(file, settings, host, tell);
  } catch (error) {
    throw isLackOfMemory(error) ? outOfMemory(file.name, error) : asUserError(error);
  }
}

async function analysedMesh(
  { name, bytes }: PartFile,
  { placement, print, support }: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  const file = await loadMesh(bytes, undefined, name);
  const job = {
    ...{ name, print, support },
    mesh: placedMesh(file, name, placement),
    meshWarnings: file.warnings,
    placement: placementOf(placement),
  };
  const prepared = preparePart(job, { pictures: false, report: true }, host);
  const steps = stepsOf(prepared.slicer.layerCount, tell);
  const part = await analysePart(prepared, { layers: steps.layers });
  return { part, packed: await packedReport(part, steps.packing) };
}

async function analysedPrint(
  { name, bytes }: PartFile,
  { placement, print, support }: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  requireAsItIs(name, placement, print);
  const given = { usualLayerHeight: print.layerHeight, usualPixelSize: print.pixelSize };
  const printed = await openPrint(name, given, undefined, bytes);
  const prepared = preparePrint({ name, printed, support }, { report: true }, host);
  const steps = stepsOf(prepared.slicer.layerCount, tell);
  const part = await analyseLayers(prepared, { layers: steps.layers });
  return { part, packed: await packedPrint(prepared, part, steps.packing) };
}

function stepsOf(layers: number, tell: Teller) {
  return {
    layers: (done: number): void => tell({ step: 'layers', share: done / layers, layers }),
    packing: (share: number): void => tell({ step: 'packing', share, layers }),
  };
}
