import type { AnalysisParameters, SliceResult } from 'stiltforge/analysis';
import {
  analysisParameters,
  bottomOfLayer,
  createLayerSlicer,
  defaultSupport,
  type LayerHeights,
  type LayerSlicer,
  type LayerSlicerOptions,
  type SupportSettings,
} from 'stiltforge/slicing';
import { ExitCode, UserError } from './errors.js';
import { type FinishedLayers, finishLayers, type LayersVisitor } from './finished_layers.js';
import type { Host } from './host.js';
import { nameOfPath } from './name_of_path.js';
import type { SupportsDocument } from './output/documents.js';
import { type Places, Records } from './output/records.js';
import { boxOnPlate, type PixelBox, type PrintedFile, placeOnPlate } from './printed_file.js';
import { checkSettings } from './setting_ranges.js';
import { requirePossible } from './supported_part.js';
import type { Tally } from './tally.js';
import { layerWarnings } from './warnings.js';

export interface LayersJob {
  /** What the outputs and errors call the print: its file. */
  name: string;
  printed: PrintedFile;
  /** Take the channels from the layers' pictures. */
  channels?: boolean;
  support: SupportSettings;
  /** Parameters in place of those that follow from the settings. */
  parameters?: Partial<AnalysisParameters>;
  /** Leave the points as the analysis places them. */
  asAnalysed?: boolean;
  /** Bytes that the run may take; what the host allows unless set. */
  memory?: number;
}

/** A print, whose layers are in a file, with its supports: what outputs are made of. */
export interface SupportedPrint extends FinishedLayers {
  /** Everything that supports.json says. */
  document: SupportsDocument;
  /** Around all material, and its highest layer. */
  box: PixelBox;
  top: number;
}

export interface PreparedPrint {
  job: LayersJob;
  host: Host;
  slicer: LayerSlicer;
  parameters: AnalysisParameters;
  /** Bytes that the run may take. */
  memory: number;
}

/** Throws a UserError, before anything is analysed, when the settings can't be used. */
export function preparePrint(
  job: LayersJob,
  { report }: { report?: boolean },
  host: Host,
): PreparedPrint {
  const { file, print } = job.printed;
  checkSettings(print, job.support);
  const slicer = createLayerSlicer(file, layerOptions(job));
  const parameters = layerParameters(job, slicer);
  const memory = requirePossible(
    parameters,
    0,
    { ...job, print },
    { pictures: false, report, isCut: true },
    job.memory ?? host.memory,
  );
  return { job, host, slicer, parameters, memory };
}

/** How the layers are read. */
export function layerOptions({
  printed: { print },
  support,
  channels,
}: LayersJob): LayerSlicerOptions {
  return {
    layerHeight: print.layerHeight,
    pixelSize: print.pixelSize,
    criticalAngle: support.criticalAngle,
    inset: support.inset,
    haveChannels: channels ?? false,
  };
}

/** Parameters for slices of the layers, or of a part of them. */
export function layerParameters(job: LayersJob, slicer: LayerSlicer): AnalysisParameters {
  const derived = analysisParameters(job.printed.print, job.support, slicer);
  return { ...derived, ...job.parameters };
}

/** Analyses all layers and finishes the points. */
export async function analyseLayers(
  { job, host, slicer, parameters }: PreparedPrint,
  visitor: LayersVisitor,
): Promise<SupportedPrint> {
  const box: PixelBox = { left: slicer.width, top: slicer.height, right: 0, bottom: 0 };
  let top = 0;
  const boxed: LayersVisitor = {
    ...visitor,
    layer: (result, index) => {
      if (result.layer.pixelCount > 0) top = index;
      extend(box, result);
      visitor.layer?.(result, index);
    },
  };
  const settings = { ...job, print: job.printed.print };
  const empty = (): UserError => emptyLayers(job);
  const finished = await finishLayers(slicer, parameters, settings, boxed, empty);
  const found = { ...finished, box, top };
  return { ...found, document: documentOf(job, host, parameters, found) };
}

function extend(box: PixelBox, { layer }: SliceResult): void {
  for (const { xMin, yMin, xMax, yMax } of layer.groups) {
    box.left = Math.min(box.left, xMin);
    box.top = Math.min(box.top, yMin);
    box.right = Math.max(box.right, xMax);
    box.bottom = Math.max(box.bottom, yMax);
  }
}

function emptyLayers({ name }: LayersJob): UserError {
  return new UserError(
    ExitCode.mesh,
    `${name}: no pixel of its layers counts as material. Lower --threshold, or export the print again.`,
  );
}

/** mm: the heights of all pixels of material together. */
function heightOfPixels(
  { materialPixels, firstLayerPixels }: Tally,
  { layerHeight, firstLayerHeight = layerHeight }: LayerHeights,
): number {
  return materialPixels * layerHeight + firstLayerPixels * (firstLayerHeight - layerHeight);
}

function documentOf(
  job: LayersJob,
  host: Host,
  parameters: AnalysisParameters,
  { tally, part, box, top }: Omit<SupportedPrint, 'document'>,
): SupportsDocument {
  const { file, pixel, print } = job.printed;
  const { minimumHeight = defaultSupport.minimumHeight } = job.support;
  const warnings = [
    ...job.printed.warnings,
    ...layerWarnings({ part, layers: tally.layers, heights: print, minimumHeight }),
  ];
  const places: Places = {
    ...{ cropX: 0, cropY: 0, plateZ: 0 },
    placeOf: (column, row) => placeOnPlate(job.printed, column, row),
  };
  const records = new Records(print, places);
  const { min, max } = boxOnPlate(job.printed, box);
  const { format, printer, material } = file;
  return {
    generator: host.generator,
    model: {
      file: nameOfPath(job.name),
      min: [...min, 0],
      max: [...max, bottomOfLayer(print, top + 1)],
      layers: { format, printer, material },
      sliceVolume: pixel.width * pixel.height * heightOfPixels(tally, print),
      warnings,
    },
    print: {
      ...print,
      layers: file.layerCount,
      crop: { column: 0, row: 0, width: file.width, height: file.height },
    },
    settings: {
      ...{ ...job.support, minimumHeight, minimumSpacing: part.spacing },
      asAnalysed: job.asAnalysed ?? false,
    },
    parameters,
    ...records.ofPart(part, tally),
  };
}
