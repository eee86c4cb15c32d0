import { basename } from 'node:path';
import { Analysis, type AnalysisParameters, type SliceResult } from 'stiltforge/analysis';
import {
  analysisParameters,
  createLayerSlicer,
  defaultSupport,
  type LayerSlicer,
  type LayerSlicerOptions,
  type SupportSettings,
} from 'stiltforge/slicing';
import {
  admission,
  type Corners,
  type Inspected,
  inspectFolder,
  inspectName,
  type JobWatcher,
  noteCorners,
  pointsOf,
  requireLayers,
  requireRegions,
  writeRegion,
} from './analyse_mesh.js';
import { commandHost } from './command_host.js';
import { ExitCode, Interrupted, UserError } from './errors.js';
import { analysedPart, finishedPart, type HeldPart, isAdded } from './held_part.js';
import { isLackOfMemory, outOfMemory, predictedMemory } from './memory.js';
import { pointsCsv, type SupportsDocument, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, type OutputFormat } from './output/formats.js';
import { OutputFolder } from './output/output_folder.js';
import { besidePoints, reported, strengthOf } from './output/packed_report.js';
import { type Places, Records } from './output/records.js';
import { reportName } from './output/report_name.js';
import { mostSlices, sliceName, sliceSheetName } from './picture_names.js';
import {
  asUserError,
  boxOnPlate,
  checkedPrint,
  cropAround,
  type PixelBox,
  type PrintedFile,
  placeOnPlate,
} from './printed_file.js';
import type { Progress } from './progress.js';
import { checkSettings } from './setting_ranges.js';
import type { Summary } from './summary.js';
import { requirePossible } from './supported_part.js';
import { Tally } from './tally.js';
import { layerWarnings } from './warnings.js';

/** Pixels around the material in pictures of slices. */
const pictureMargin = 4;

export interface PrintJob extends Inspected {
  printed: PrintedFile;
  /** Take the channels from the layers' pictures. */
  channels?: boolean;
  support: SupportSettings;
  /** Parameters in place of those that follow from the settings. */
  parameters?: Partial<AnalysisParameters>;
  /** Leave the points as the analysis places them. */
  asAnalysed?: boolean;
  /** Folder for the outputs; made when missing. */
  folder: string;
  /** Overwrite files that stand in the way and were not written by an earlier run. */
  force?: boolean;
  /** What the points are written to, json or csv; both unless set. */
  formats?: readonly OutputFormat[];
  pictures: boolean;
  /** A page with the layers, the shape that they make and the points; none unless set. */
  report?: boolean;
  /** Bytes that the run may take; what the machine has unless set. */
  memory?: number;
}

interface Analysed {
  tally: Tally;
  part: HeldPart;
  materialPixels: number;
  /** Around all material, and its highest layer. */
  box: PixelBox;
  top: number;
  /** Of each layer, pixels that nothing held before its own supports. */
  owedPixels: Float64Array;
}

/**
 * The whole road of a print whose layers are in a file: the same analysis and outputs as analyseMesh(),
 * with places in millimetres of the plate. Throws as that does.
 */
export async function analysePrint(job: PrintJob, watcher: JobWatcher): Promise<Summary> {
  const started = performance.now();
  const { file, print } = job.printed;
  checkSettings(print, job.support);
  requireLayers(job, file.layerCount);
  const slicer = createLayerSlicer(file, slicerOptions(job));
  const parameters = parametersFor(job, slicer);
  const memory = requirePossible(
    parameters,
    0,
    { ...job, print },
    { pictures: false, report: job.report },
    job.memory ?? commandHost.memory,
  );
  const folder = OutputFolder.open(job.folder, {
    expected: expectedFiles(job),
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const waited = await admission(watcher, memory);
    const summary = await writeOutputs(job, watcher, slicer, parameters, folder);
    folder.commit((name) => name.startsWith(`${inspectFolder}/`));
    const seconds = (performance.now() - started) / 1000 - waited;
    return { ...summary, seconds, peakMemory: 1024 * process.resourceUsage().maxRSS };
  } catch (error) {
    if (watcher.signal.aborted) throw new Interrupted();
    throw isLackOfMemory(error) ? outOfMemory(job.name, error) : asUserError(error);
  } finally {
    folder.discard();
    process.off('exit', discard);
  }
}

function slicerOptions({ printed: { print }, support, channels }: PrintJob): LayerSlicerOptions {
  return {
    layerHeight: print.layerHeight,
    pixelSize: print.pixelSize,
    criticalAngle: support.criticalAngle,
    inset: support.inset,
    haveChannels: channels ?? false,
  };
}

function parametersFor(job: PrintJob, slicer: LayerSlicer): AnalysisParameters {
  const derived = analysisParameters(job.printed.print, job.support, slicer);
  return { ...derived, ...job.parameters };
}

function expectedFiles({
  pictures,
  report,
  inspect,
  formats = defaultFormats,
}: PrintJob): string[] {
  const slices = Array.from({ length: mostSlices }, (_, index) => sliceName(index));
  return [
    ...formats.map((format) => formatFiles[format]),
    ...(pictures ? [sliceSheetName, ...slices] : []),
    ...(report ? [reportName] : []),
    ...inspect.map((region) => `${inspectName(region)}.png`),
  ];
}

async function writeOutputs(
  job: PrintJob,
  { progress, signal, warn }: JobWatcher,
  slicer: LayerSlicer,
  parameters: AnalysisParameters,
  folder: OutputFolder,
): Promise<Omit<Summary, 'seconds' | 'peakMemory'>> {
  const warnings = [...job.printed.warnings];
  try {
    progress.start(slicer.layerCount, job.pictures ? 1 : 0);
    const begin = performance.now();
    const analysed = await analyse(job, { progress, signal }, slicer, parameters, folder);
    const analysisSeconds = (performance.now() - begin) / 1000;
    const { layerHeight } = job.printed.print;
    const { minimumHeight = defaultSupport.minimumHeight } = job.support;
    const { part, tally } = analysed;
    warnings.push(...layerWarnings({ part, layers: tally.layers, layerHeight, minimumHeight }));
    const document = documentOf(job, parameters, analysed, warnings);
    const { formats = defaultFormats } = job;
    if (formats.includes('json')) await folder.write(formatFiles.json, supportsJson(document));
    if (formats.includes('csv')) await folder.write(formatFiles.csv, pointsCsv(document.supports));
    if (job.report) {
      await folder.write(
        reportName,
        await report(job, document, analysed, slicer, progress, signal),
      );
    }
    if (job.pictures) {
      progress.pictures(0);
      await writePictures(job, analysed, folder, signal, warnings);
      progress.pictures(1);
    }
    return {
      ...{ name: job.name, document, analysisSeconds, folder: job.folder },
      files: folder.topLevelNames(),
    };
  } finally {
    progress.stop();
    for (const sentence of warnings) warn(`${job.name}: ${sentence}`);
  }
}

/** Analyses all layers, finishes the points and draws the regions that are to be inspected. */
async function analyse(
  job: PrintJob,
  { progress, signal }: Pick<JobWatcher, 'progress' | 'signal'>,
  slicer: LayerSlicer,
  parameters: AnalysisParameters,
  folder: OutputFolder,
): Promise<Analysed> {
  const tally = new Tally();
  const corners: Corners = new Map();
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
      noteCorners(job.inspect, result, layer, corners);
      tally.add(result);
      progress.layers(tally.layers.length);
    }
    if (materialPixels === 0) throw emptyLayers(job);
    requireRegions(job, tally);
    const finish = job.asAnalysed ? analysedPart : finishedPart;
    const part = await finish(analysis, job.printed.print, job.support);
    signal.throwIfAborted();
    for (const region of job.inspect) {
      await writeRegion(region, analysis, pointsOf(region, part, corners), folder);
    }
    const owedPixels = await analysis.owedPixels();
    return { tally, part, materialPixels, box, top, owedPixels };
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

function emptyLayers({ name }: PrintJob): UserError {
  return new UserError(
    ExitCode.mesh,
    `${name}: no pixel of its layers counts as material. Lower --threshold, or export the print again.`,
  );
}

function documentOf(
  job: PrintJob,
  parameters: AnalysisParameters,
  { tally, part, materialPixels, box, top }: Analysed,
  warnings: string[],
): SupportsDocument {
  const { file, pixel, print } = job.printed;
  const { minimumHeight = defaultSupport.minimumHeight } = job.support;
  const places: Places = {
    ...{ cropX: 0, cropY: 0, plateZ: 0 },
    placeOf: (column, row) => placeOnPlate(job.printed, column, row),
  };
  const records = new Records(print, places);
  const supports = records.supports(part);
  const { islands } = part.verdict;
  const { min, max } = boxOnPlate(job.printed, box);
  const { format, printer, material } = file;
  return {
    generator: commandHost.generator,
    model: {
      file: basename(job.name),
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
    summary: {
      layers: file.layerCount,
      regions: tally.regions,
      islands: islands.length,
      heldIslands: islands.filter(({ heldBy }) => heldBy !== null).length,
      supports: supports.length,
      merged: supports.filter(({ reason }) => reason === 'merged').length,
      added: supports.filter(isAdded).length,
      dropped: part.dropped.length,
    },
    verdict: records.verdict(part.verdict),
    islands: records.islands(part.verdict),
    supports,
    dropped: records.dropped(part),
  };
}

/** The page of the print, with what a check finds in it beside its points. */
async function report(
  job: PrintJob,
  document: SupportsDocument,
  { part, box, top, owedPixels }: Analysed,
  slicer: LayerSlicer,
  progress: Progress,
  signal: AbortSignal,
): Promise<string> {
  const { printed } = job;
  const { layerReport } = await import('./output/layer_report.js');
  const { checkPrint } = await import('stiltforge/check');
  const { criticalAngle } = job.support;
  const check = await checkPrint(slicer, {
    ...checkedPrint(printed),
    ...{ points: part.points, criticalAngle, signal },
  });
  const source = {
    ...{ printed, box, top, options: slicerOptions(job) },
    part: { ...reported(document, part), check: besidePoints(check) },
    strength: strengthOf(document, owedPixels),
  };
  return layerReport(source, progress.report, signal);
}

/** Pictures show the part of the screen with material, which alone is painted. */
async function writePictures(
  job: PrintJob,
  { tally, part, box }: Analysed,
  folder: OutputFolder,
  signal: AbortSignal,
  warnings: string[],
): Promise<void> {
  const { file, print } = job.printed;
  const { column, row, width, height } = cropAround(file, box, pictureMargin);
  const crop = { cropX: column, cropY: row, width, height };
  const slicer = createLayerSlicer(file, { ...slicerOptions(job), ...crop });
  const parameters = parametersFor(job, slicer);
  const { minimumHeight = defaultSupport.minimumHeight } = job.support;
  const layersBelow = minimumHeight / print.layerHeight;
  const predicted = predictedMemory(parameters, 0, { pictures: true, layersBelow });
  if (predicted > (job.memory ?? commandHost.memory)) {
    warnings.push('There is not enough memory for pictures of its slices, so there are none.');
    return;
  }
  const moved = <Point extends { column: number; row: number }>(points: Point[]): Point[] =>
    points.map((point) => ({ ...point, column: point.column - column, row: point.row - row }));
  const shown = { ...part, points: moved(part.points), dropped: moved(part.dropped) };
  const { slicePictures } = await import('./slice_pictures.js');
  const name = basename(job.name);
  for (const picture of await slicePictures(
    name,
    slicer,
    parameters,
    tally,
    shown,
    print,
    signal,
  )) {
    await folder.write(picture.name, picture.png);
  }
}
