import { Analysis, type AnalysisParameters, type SliceResult } from 'stiltforge/analysis';
import {
  analysisParameters,
  createLayerSlicer,
  defaultSupport,
  type LayerSlicer,
  type LayerSlicerOptions,
  type SupportSettings,
} from 'stiltforge/slicing';
import { ExitCode, UserError } from './errors.js';
import { analysedPart, finishedPart, type HeldPart } from './held_part.js';
import type { Host } from './host.js';
import { nameOfPath } from './name_of_path.js';
import type { SupportsDocument } from './output/documents.js';
import { type Places, Records } from './output/records.js';
import { boxOnPlate, type PixelBox, type PrintedFile, placeOnPlate } from './printed_file.js';
import { checkSettings } from './setting_ranges.js';
import { type PartVisitor, requirePossible } from './supported_part.js';
import { Tally } from './tally.js';
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
export interface SupportedPrint {
  /** Everything that supports.json says. */
  document: SupportsDocument;
  part: HeldPart;
  tally: Tally;
  /** Around all material, and its highest layer. */
  box: PixelBox;
  top: number;
  /** Of each layer, pixels that nothing held before its own supports. */
  owedPixels: Float64Array;
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
    { pictures: false, report },
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
  visitor: PartVisitor,
): Promise<SupportedPrint> {
  const { signal } = visitor;
  const tally = new Tally();
  const box: PixelBox = { left: slicer.width, top: slicer.height, right: 0, bottom: 0 };
  let materialPixels = 0;
  let top = 0;
  const { pixelSize, layerHeight } = job.printed.print;
  const { criticalAngle, minimumHeight, supportArea } = job.support;
  const survey = { pixelSize, layerHeight, criticalAngle, minimumHeight, supportArea };
  const analysis = Analysis.create(parameters, { survey });
  try {
    for await (const result of analysis.run(slicer, { signal })) {
      const layer = tally.layers.length;
      materialPixels += result.layer.pixelCount;
      if (result.layer.pixelCount > 0) top = layer;
      extend(box, result);
      visitor.layer?.(result, layer);
      tally.add(result);
      visitor.layers?.(tally.layers.length);
    }
    if (materialPixels === 0) throw emptyLayers(job);
    const finish = job.asAnalysed ? analysedPart : finishedPart;
    const part = await finish(analysis, job.printed.print, job.support);
    signal?.throwIfAborted();
    await visitor.finished?.(analysis, part, tally);
    const owedPixels = await analysis.owedPixels();
    const found = { tally, part, box, top, owedPixels };
    return { ...found, document: documentOf(job, host, parameters, found, materialPixels) };
  } finally {
    await analysis.close();
  }
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

function documentOf(
  job: LayersJob,
  host: Host,
  parameters: AnalysisParameters,
  { tally, part, box, top }: Omit<SupportedPrint, 'document'>,
  materialPixels: number,
): SupportsDocument {
  const { file, pixel, print } = job.printed;
  const { minimumHeight = defaultSupport.minimumHeight } = job.support;
  const { layerHeight } = print;
  const warnings = [
    ...job.printed.warnings,
    ...layerWarnings({ part, layers: tally.layers, layerHeight, minimumHeight }),
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
      max: [...max, (top + 1) * print.layerHeight],
      layers: { format, printer, material },
      sliceVolume: materialPixels * pixel.width * pixel.height * print.layerHeight,
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
