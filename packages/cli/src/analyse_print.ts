import { basename } from 'node:path';
import { createLayerSlicer, defaultSupport } from 'stiltforge/slicing';
import { commandHost } from './command_host.js';
import { type Inspected, inspectedFiles, inspecting, requireLayers } from './inspected_regions.js';
import { predictedMemory } from './memory.js';
import { pointsCsv, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, type OutputFormat } from './output/formats.js';
import type { OutputFolder } from './output/output_folder.js';
import { reportName } from './output/report_name.js';
import { mostSlices, sliceName, sliceSheetName } from './picture_names.js';
import { cropAround } from './printed_file.js';
import { type FolderJob, type JobWatcher, runIntoFolder } from './run_into_folder.js';
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

export interface PrintJob extends LayersJob, Omit<FolderJob, 'keep'>, Inspected {
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
export function analysePrint(job: PrintJob, watcher: JobWatcher): Promise<Summary> {
  return runIntoFolder(job, watcher, () => {
    const prepared = preparePrint(job, job, commandHost);
    requireLayers(job, job.printed.file.layerCount);
    return {
      expected: expectedFiles(job),
      memory: prepared.memory,
      isCut: true,
      write: (folder) => writeOutputs(job, watcher, prepared, folder),
    };
  });
}

function expectedFiles(job: PrintJob): string[] {
  const { formats = defaultFormats, pictures, report } = job;
  const slices = Array.from({ length: mostSlices }, (_, index) => sliceName(index));
  return [
    ...formats.map((format) => formatFiles[format]),
    ...(pictures ? [sliceSheetName, ...slices] : []),
    ...(report ? [reportName] : []),
    ...inspectedFiles(job),
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
