import { isPrinterFile } from 'stiltforge/slicing';
import {
  analyseLayers,
  analysePart,
  asUserError,
  type BuiltPart,
  buildSupports,
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
import type { PartFile, PartSettings, Progress } from './protocol.js';

export interface AnalysedPart {
  part: SupportedPart | SupportedPrint;
  packed: PackedPart;
  /** Its supports as geometry. Throws a UserError; of a part whose layers were cut before, an Error. */
  built: () => Promise<BuiltPart>;
}

export type Teller = (progress: Progress) => void;

/** The road of the command with --report, from the bytes of a file. Throws as its steps do. */
export async function analysedPart(
  file: PartFile,
  settings: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  try {
    tell({ step: 'reading', share: 0, total: 0 });
    const road = isPrinterFile(file.bytes, file.name) ? analysedPrint : analysedMesh;
    return await road(file, settings, host, tell);
  } catch (error) {
    throw isLackOfMemory(error) ? outOfMemory(file.name, error) : asUserError(error);
  }
}

async function analysedMesh(
  { name, bytes }: PartFile,
  { placement, print, support, scaffold }: PartSettings,
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
  let building: Promise<BuiltPart> | undefined;
  const built = (): Promise<BuiltPart> => {
    building ??= buildSupports(part, { settings: scaffold, merge: false });
    return building;
  };
  return { part, packed: await packedReport(part, steps.packing), built };
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
  const built = (): Promise<BuiltPart> => Promise.reject(new Error('a print has no mesh'));
  return { part, packed: await packedPrint(prepared, part, steps.packing), built };
}

function stepsOf(total: number, tell: Teller) {
  return {
    layers: (done: number): void => tell({ step: 'layers', share: done / total, total }),
    packing: (share: number): void => tell({ step: 'packing', share, total }),
  };
}
