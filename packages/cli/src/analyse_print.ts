import { basename } from 'node:path';
import { createLayerSlicer, defaultSupport } from 'stiltforge/slicing';
import {
  admission,
  type Inspected,
  inspectFolder,
  inspecting,
  inspectName,
  type JobWatcher,
  requireLayers,
} from './analyse_mesh.js';
import { commandHost } from './command_host.js';
import { Interrupted } from './errors.js';
import { isLackOfMemory, outOfMemory, predictedMemory } from './memory.js';
import { pointsCsv, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, type OutputFormat } from './output/formats.js';
import { OutputFolder } from './output/output_folder.js';
import { reportName } from './output/report_name.js';
import { mostSlices, sliceName, sliceSheetName } from './picture_names.js';
import { asUserError, cropAround } from './printed_file.js';
import type { Summary } from './summary.js';
import {
  analyseLayers,
  type LayersJob,
  layerOptions,
  layerParameters,
  type PreparedPrint,
  preparePrint,
  type SupportedPrint,
} from './supported_print.js';

/** Pixels around the material in pictures of slices. */
const pictureMargin = 4;

export interface PrintJob extends LayersJob, Inspected {
  /** Folder for the outputs; made when missing. */
  folder: string;
  /** Overwrite files that stand in the way and were not written by an earlier run. */
  force?: boolean;
  /** What the points are written to, json or csv; both unless set. */
  formats?: readonly OutputFormat[];
  pictures: boolean;
  /** A page with the layers, the shape that they make and the points; none unless set. */
  report?: boolean;
}

/**
 * The whole road of a print whose layers are in a file: the same analysis and outputs as analyseMesh(),
 * with places in millimetres of the plate. Throws as that does.
 */
export async function analysePrint(job: PrintJob, watcher: JobWatcher): Promise<Summary> {
  const started = performance.now();
  const prepared = preparePrint(job, job, commandHost);
  requireLayers(job, job.printed.file.layerCount);
  const folder = OutputFolder.open(job.folder, {
    expected: expectedFiles(job),
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const waited = await admission(watcher, prepared.memory);
    const summary = await writeOutputs(job, watcher, prepared, folder);
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
  prepared: PreparedPrint,
  folder: OutputFolder,
): Promise<Omit<Summary, 'seconds' | 'peakMemory'>> {
  let warnings = job.printed.warnings;
  try {
    progress.start(prepared.slicer.layerCount, job.pictures ? 1 : 0);
    const begin = performance.now();
    const supported = await analyseLayers(prepared, {
      signal,
      layers: (done) => progress.layers(done),
      ...inspecting(job, folder),
    });
    const analysisSeconds = (performance.now() - begin) / 1000;
    const { document } = supported;
    warnings = document.model.warnings;
    const { formats = defaultFormats } = job;
    if (formats.includes('json')) await folder.write(formatFiles.json, supportsJson(document));
    if (formats.includes('csv')) await folder.write(formatFiles.csv, pointsCsv(document.supports));
    if (job.report) {
      const { packedPrint } = await import('./output/packed_print.js');
      const { pageWith } = await import('./output/report.js');
      const packed = await packedPrint(prepared, supported, progress.report, signal);
      await folder.write(reportName, await pageWith(packed));
    }
    if (job.pictures) {
      progress.pictures(0);
      await writePictures(job, supported, folder, signal);
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

/** Pictures show the part of the screen with material, which alone is painted. */
async function writePictures(
  job: PrintJob,
  { document, tally, part, box }: SupportedPrint,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<void> {
  const { file, print } = job.printed;
  const { column, row, width, height } = cropAround(file, box, pictureMargin);
  const crop = { cropX: column, cropY: row, width, height };
  const slicer = createLayerSlicer(file, { ...layerOptions(job), ...crop });
  const parameters = layerParameters(job, slicer);
  const { minimumHeight = defaultSupport.minimumHeight } = job.support;
  const layersBelow = minimumHeight / print.layerHeight;
  const predicted = predictedMemory(parameters, 0, { pictures: true, layersBelow });
  if (predicted > (job.memory ?? commandHost.memory)) {
    document.model.warnings.push(
      'There is not enough memory for pictures of its slices, so there are none.',
    );
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
