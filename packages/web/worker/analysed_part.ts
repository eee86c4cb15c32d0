import type { Scaffold } from 'stiltforge/scaffold';
import { isPrinterFile } from 'stiltforge/slicing';
import {
  analyseLayers,
  analysePart,
  asUserError,
  type BuiltPart,
  buildSupports,
  ExitCode,
  type Host,
  isLackOfMemory,
  loadMesh,
  openPrint,
  outOfMemory,
  packedPrint,
  packedReport,
  partOfMeshes,
  placedMesh,
  placementOf,
  preparePart,
  preparePrint,
  type ReadMesh,
  type SupportedPart,
  type SupportedPrint,
  UserError,
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

/** The road of the command with --report, from the bytes of its files. Throws as its steps do. */
export async function analysedPart(
  files: readonly PartFile[],
  settings: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  let print: PartFile | undefined;
  try {
    tell({ step: 'reading', share: 0, total: 0 });
    print = files.find(({ bytes, name }) => isPrinterFile(bytes, name));
    if (print === undefined) return await analysedMesh(files, settings, host, tell);
    requireAlone(print, files, settings);
    return await analysedPrint(print, settings, host, tell);
  } catch (error) {
    const names = files.map(({ name }) => name).join(', ');
    throw isLackOfMemory(error)
      ? outOfMemory(names, error, print !== undefined)
      : asUserError(error);
  }
}

function requireAlone(
  { name }: PartFile,
  files: readonly PartFile[],
  { plate }: PartSettings,
): void {
  if (files.length > 1) {
    throw new UserError(
      ExitCode.usage,
      `${name}: it is a plate of its own, with layers that are cut already. Choose it alone, or meshes.`,
    );
  }
  if (plate.copies > 1) {
    throw new UserError(
      ExitCode.usage,
      `--copies: the layers of ${name} are cut already. Choose its mesh for copies.`,
    );
  }
}

async function analysedMesh(
  files: readonly PartFile[],
  { placement, plate, print, support, scaffold }: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  const meshes: ReadMesh[] = [];
  for (const { name, bytes } of files) {
    const file = await loadMesh(bytes, undefined, name);
    meshes.push({ name, mesh: placedMesh(file, name, placement), warnings: file.warnings });
  }
  const job = {
    ...partOfMeshes(meshes, plate, print),
    ...{ print, support, placement: placementOf(placement) },
  };
  const prepared = preparePart(job, { pictures: false, report: true }, host);
  const steps = stepsOf(prepared.slicer.layerCount, tell);
  const part = await analysePart(prepared, { layers: steps.layers });
  const building = buildSupports(part, { settings: scaffold, merge: false }, steps.building);
  const packed = await packedReport({ ...part, built: await shown(building) }, steps.packing);
  return { part, packed, built: () => building };
}

/** Supports that can't be built are told when somebody wants them as a file. */
async function shown(building: Promise<BuiltPart>): Promise<Scaffold | undefined> {
  try {
    return (await building).scaffold;
  } catch (error) {
    if (error instanceof UserError) return undefined;
    throw error;
  }
}

async function analysedPrint(
  { name, bytes }: PartFile,
  { placement, print, support }: PartSettings,
  host: Host,
  tell: Teller,
): Promise<AnalysedPart> {
  requireAsItIs(name, placement, print);
  const given = {
    usualLayerHeight: print.layerHeight,
    usualPixelSize: print.pixelSize,
    isReadAgain: true,
  };
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
    building: (share: number): void => tell({ step: 'building', share, total }),
    packing: (share: number): void => tell({ step: 'packing', share, total }),
  };
}
