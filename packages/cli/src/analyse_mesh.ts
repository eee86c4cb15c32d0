import { basename } from 'node:path';
import { Analysis, type AnalysisParameters } from 'stiltforge/analysis';
import type { Triangles } from 'stiltforge/slicing';
import {
  analysisParameters,
  createSlicer,
  defaultSupport,
  type PrintSettings,
  type Slicer,
  type SupportSettings,
} from 'stiltforge/slicing';
import { codeOf, ExitCode, Interrupted, messageOf, UserError } from './errors.js';
import {
  analysedPart,
  finishedPart,
  type HeldPart,
  isAdded,
  type SlicePoint,
} from './held_part.js';
import { isLackOfMemory, outOfMemory, requireMemory } from './memory.js';
import { pointsCsv, type SupportsDocument, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, type OutputFormat } from './output/formats.js';
import { OutputFolder } from './output/output_folder.js';
import { Records } from './output/records.js';
import { reportName } from './output/report_name.js';
import { pictureNames } from './picture_names.js';
import { markOf } from './point_marks.js';
import type { Progress } from './progress.js';
import { type RegionPoint, regionPictures } from './region_pictures.js';
import { checkSettings } from './setting_ranges.js';
import type { Summary } from './summary.js';
import { Tally } from './tally.js';
import { version } from './version.js';
import { meshWarnings } from './warnings.js';
import { counted } from './wording.js';

/** Pixels left free around the model, so that its contour is one on all sides. */
const margin = 2;

const inspectFolder = 'inspect';

export interface RegionToInspect {
  layer: number;
  /** From 1. */
  region: number;
}

export interface Job {
  /** What the outputs and errors call the model: its file. */
  name: string;
  mesh: Triangles;
  /** Sentences about its file, to be passed on with those about the mesh itself. */
  meshWarnings?: readonly string[];
  print: PrintSettings;
  support: SupportSettings;
  /** Parameters in place of those that follow from the settings. */
  parameters?: Partial<AnalysisParameters>;
  /** Leave the points as the analysis places them. */
  asAnalysed?: boolean;
  /** Folder for the outputs; made when missing. */
  folder: string;
  /** Overwrite files that stand in the way and were not written by an earlier run. */
  force?: boolean;
  /** What the points are written to; supports.json and points.csv unless set. */
  formats?: readonly OutputFormat[];
  pictures: boolean;
  /** A page with the part, its slices and its points; none unless set. */
  report?: boolean;
  inspect: readonly RegionToInspect[];
  /** Bytes that the run may take; what the machine has unless set. */
  memory?: number;
}

export interface JobWatcher {
  progress: Progress;
  signal: AbortSignal;
  warn(sentence: string): void;
}

/**
 * The whole road of one model: slices, analysis, outputs. The outputs appear together at the end, or
 * none of them. Throws a UserError for what the user can mend, Interrupted when the signal says so.
 */
export async function analyseMesh(job: Job, watcher: JobWatcher): Promise<Summary> {
  const started = performance.now();
  checkSettings(job.print, job.support);
  const slicer = makeSlicer(job);
  requireLayers(job, slicer.layerCount);
  const derived = analysisParameters(job.print, job.support, slicer);
  const parameters = { ...derived, ...job.parameters };
  requirePossible(parameters, slicer.report.triangles, job);
  const folder = OutputFolder.open(job.folder, {
    expected: expectedFiles(job),
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const summary = await writeOutputs(job, watcher, slicer, parameters, folder);
    // What was inspected stays: it was asked for one by one.
    folder.commit((name) => name.startsWith(`${inspectFolder}/`));
    const seconds = (performance.now() - started) / 1000;
    return { ...summary, seconds, peakMemory: 1024 * process.resourceUsage().maxRSS };
  } catch (error) {
    if (watcher.signal.aborted) throw new Interrupted();
    throw isLackOfMemory(error) ? outOfMemory(job.name, error) : error;
  } finally {
    folder.discard();
    process.off('exit', discard);
  }
}

function makeSlicer({ name, mesh, print, support }: Job): Slicer {
  try {
    return createSlicer({
      positions: mesh,
      ...print,
      margin,
      criticalAngle: support.criticalAngle,
      inset: support.inset,
    });
  } catch (error) {
    throw new UserError(ExitCode.mesh, `${name}: ${messageOf(error)}`, { cause: error });
  }
}

function expectedFiles({ formats = defaultFormats, pictures, report, inspect }: Job): string[] {
  return [
    ...formats.map((format) => formatFiles[format]),
    ...(pictures ? pictureNames : []),
    ...(report ? [reportName] : []),
    ...inspect.map((region) => `${inspectName(region)}.png`),
  ];
}

function inspectName({ layer, region }: RegionToInspect): string {
  return `${inspectFolder}/layer_${String(layer).padStart(5, '0')}_region_${region}`;
}

/** Parameters that can't work together, and a run that is too large, are told at once, too. */
function requirePossible(parameters: AnalysisParameters, triangles: number, job: Job): void {
  try {
    const { minimumHeight = defaultSupport.minimumHeight } = job.support;
    const layersBelow = minimumHeight / job.print.layerHeight;
    requireMemory(parameters, triangles, { ...job, layersBelow }, job.memory);
  } catch (error) {
    if (codeOf(error) !== 'ERR_STILTFORGE_PARAMETER') throw error;
    throw new UserError(ExitCode.usage, messageOf(error), { cause: error });
  }
}

/** A wrong layer is told at once, not when the whole model is analysed. */
function requireLayers({ name, inspect }: Job, layers: number): void {
  for (const { layer, region } of inspect) {
    if (layer < layers) continue;
    throw new UserError(
      ExitCode.usage,
      `--inspect ${layer}:${region}: ${name} has the layers 0 to ${layers - 1}.`,
    );
  }
}

async function writeOutputs(
  job: Job,
  { progress, signal, warn }: JobWatcher,
  slicer: Slicer,
  parameters: AnalysisParameters,
  folder: OutputFolder,
): Promise<Omit<Summary, 'seconds' | 'peakMemory'>> {
  const { print, support } = job;
  // Loaded while the first layers are analysed.
  const pictures = job.pictures ? import('./run_pictures.js') : undefined;
  pictures?.catch(() => {});
  let warnings: string[] = [];
  try {
    progress.start(slicer.layerCount, job.pictures ? drawingSeconds(slicer) : 0);
    const begin = performance.now();
    const { tally, part, materialPixels, owedPixels } = await analysed(
      job,
      progress,
      signal,
      slicer,
      parameters,
      folder,
    );
    const analysisSeconds = (performance.now() - begin) / 1000;
    const sliceVolume = materialPixels * print.pixelSize ** 2 * print.layerHeight;
    const { report } = slicer;
    const { minimumHeight = defaultSupport.minimumHeight } = support;
    warnings = [
      ...(job.meshWarnings ?? []),
      ...meshWarnings({
        ...{ report, sliceVolume, layers: tally.layers, part },
        ...{ layerHeight: print.layerHeight, minimumHeight },
      }),
    ];

    const records = new Records(print, slicer);
    const supports = records.supports(part);
    const { bounds, ...mesh } = report;
    const document: SupportsDocument = {
      generator: `stiltforge ${version}`,
      model: { file: basename(job.name), ...bounds, mesh, sliceVolume, warnings },
      print: {
        ...print,
        layers: slicer.layerCount,
        crop: {
          column: slicer.cropX,
          row: slicer.cropY,
          width: slicer.width,
          height: slicer.height,
        },
      },
      settings: {
        ...{ ...support, minimumHeight, minimumSpacing: part.spacing },
        asAnalysed: job.asAnalysed ?? false,
      },
      parameters,
      summary: {
        layers: slicer.layerCount,
        regions: tally.regions,
        islands: part.verdict.islands.length,
        heldIslands: part.verdict.islands.filter(({ heldBy }) => heldBy !== null).length,
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
    await writePoints(job, document, folder, signal);
    if (job.report) {
      const { reportPage } = await import('./output/report.js');
      const reported = { document, part, mesh: job.mesh, slicer, owedPixels };
      await folder.write(reportName, await reportPage(reported, progress.report, signal));
    }
    if (pictures !== undefined) {
      progress.pictures(0);
      const { drawPictures } = await pictures;
      const drawn = { ...job, slicer, parameters, tally, part, document };
      for (const { name, png } of await drawPictures(drawn, progress.pictures, signal)) {
        await folder.write(name, png);
      }
    }
    return {
      name: job.name,
      document,
      analysisSeconds,
      folder: job.folder,
      files: folder.topLevelNames(),
    };
  } finally {
    progress.stop();
    for (const sentence of warnings) warn(`${job.name}: ${sentence}`);
  }
}

async function writePoints(
  { mesh, formats = defaultFormats }: Job,
  document: SupportsDocument,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<void> {
  const { model, print, supports } = document;
  if (formats.includes('json')) await folder.write(formatFiles.json, supportsJson(document));
  if (formats.includes('csv')) await folder.write(formatFiles.csv, pointsCsv(supports));
  if (formats.includes('3mf')) {
    const { threeMfProject } = await import('./output/three_mf.js');
    const part = { name: model.file, mesh, print, min: model.min, max: model.max, supports };
    await folder.write(formatFiles['3mf'], threeMfProject(part, signal));
  }
}

interface Analysed {
  tally: Tally;
  part: HeldPart;
  materialPixels: number;
  /** By layer. */
  owedPixels: Float64Array;
}

/** Analyses all layers, finishes the points and draws the regions that are to be inspected. */
async function analysed(
  job: Job,
  progress: Progress,
  signal: AbortSignal,
  slicer: Slicer,
  parameters: AnalysisParameters,
  folder: OutputFolder,
): Promise<Analysed> {
  const tally = new Tally();
  let materialPixels = 0;
  const corners: Corners = new Map();
  const { print, support } = job;
  const { pixelSize, layerHeight } = print;
  const { criticalAngle, minimumHeight, supportArea } = support;
  const survey = { pixelSize, layerHeight, criticalAngle, minimumHeight, supportArea };
  const analysis = Analysis.create(parameters, { survey });
  try {
    for await (const result of analysis.run(slicer, { signal })) {
      materialPixels += result.layer.pixelCount;
      for (const region of job.inspect) {
        if (region.layer !== tally.layers.length) continue;
        const group = result.layer.groups[region.region - 1];
        corners.set(region, { column: group?.xMin ?? 0, row: group?.yMin ?? 0 });
      }
      tally.add(result);
      progress.layers(tally.layers.length);
    }
    if (materialPixels === 0) throw emptySlices(job, slicer);
    requireRegions(job, tally);
    const part = await (job.asAnalysed ? analysedPart : finishedPart)(analysis, print, support);
    signal.throwIfAborted();
    for (const region of job.inspect) {
      const points = pointsOf(region, part, corners);
      await writeRegion(region, analysis, points, folder);
    }
    return { tally, part, materialPixels, owedPixels: await analysis.owedPixels() };
  } finally {
    await analysis.close();
  }
}

/** About what the pictures take: they grow with the mesh and with the pixels of a slice. */
function drawingSeconds({ report, width, height }: Slicer): number {
  return 0.8 + 1.5e-6 * report.triangles + 1e-7 * width * height;
}

/** The slices show nothing, which is either the pixels' fault or the mesh's. */
function emptySlices({ name, print }: Job, { report }: Slicer): UserError {
  const { min, max } = report.bounds;
  const [width, depth] = [max[0] - min[0], max[1] - min[1]];
  const size = `${width.toPrecision(3)} x ${depth.toPrecision(3)} mm`;
  const { pixelSize } = print;
  return Math.min(width, depth) < 2 * pixelSize
    ? new UserError(
        ExitCode.usage,
        `--pixel-size ${pixelSize}: the slices are empty, since ${name}, ${size} seen from above, ` +
          'falls between the centres of the pixels. Choose smaller pixels.',
      )
    : new UserError(
        ExitCode.mesh,
        `${name}: the slices are empty: its surfaces enclose no volume, or less than a pixel of ` +
          `${pixelSize} mm shows. Repair the mesh, or choose smaller pixels.`,
      );
}

/** What regions a layer has is known when it is analysed. */
function requireRegions({ name, inspect }: Job, { layers }: Tally): void {
  for (const { layer, region } of inspect) {
    const { regions } = layers[layer];
    if (region <= regions) continue;
    const there = regions === 0 ? 'no material' : counted(regions, 'region');
    throw new UserError(
      ExitCode.usage,
      `--inspect ${layer}:${region}: layer ${layer} of ${name} has ${there}.`,
    );
  }
}

/** Of the regions that are inspected: the first column and row of their boxes. */
type Corners = Map<RegionToInspect, { column: number; row: number }>;

function pointsOf(inspected: RegionToInspect, part: HeldPart, corners: Corners): RegionPoint[] {
  const { column: left = 0, row: top = 0 } = corners.get(inspected) ?? {};
  const isThere = ({ layer, region }: SlicePoint): boolean =>
    layer === inspected.layer && region?.region === inspected.region;
  const mark = ({ column, row }: SlicePoint, kind: RegionPoint['kind']): RegionPoint => ({
    ...{ column: column - left, row: row - top, kind },
  });
  return [
    ...part.dropped.filter(isThere).map((point) => mark(point, 'dropped')),
    ...part.points.filter(isThere).map((point) => mark(point, markOf(point))),
  ];
}

async function writeRegion(
  region: RegionToInspect,
  analysis: Analysis,
  points: readonly RegionPoint[],
  folder: OutputFolder,
): Promise<void> {
  const name = inspectName(region);
  const pictures = await regionPictures(analysis, region.layer, region.region, points);
  await folder.write(`${name}.png`, pictures.sheet);
  for (const [image, png] of Object.entries(pictures.images)) {
    await folder.write(`${name}/${image}.png`, png);
  }
}
