import type { Analysis, SliceResult } from 'stiltforge/analysis';
import type { Slicer, Triangles } from 'stiltforge/slicing';
import { commandHost } from './command_host.js';
import { ExitCode, Interrupted, UserError } from './errors.js';
import type { LayersVisitor } from './finished_layers.js';
import type { HeldPart, SlicePoint } from './held_part.js';
import { isLackOfMemory, outOfMemory } from './memory.js';
import { pointsCsv, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, mergedFile, type OutputFormat } from './output/formats.js';
import { OutputFolder } from './output/output_folder.js';
import { reportName } from './output/report_name.js';
import { pictureNames } from './picture_names.js';
import { markOf } from './point_marks.js';
import type { Progress } from './progress.js';
import { type RegionPoint, regionPictures } from './region_pictures.js';
import type { ScaffoldJob } from './scaffold/supports_geometry.js';
import type { Summary } from './summary.js';
import {
  analysePart,
  type PartJob,
  type PreparedPart,
  preparePart,
  type SupportedPart,
} from './supported_part.js';
import type { Tally } from './tally.js';
import { counted } from './wording.js';

export const inspectFolder = 'inspect';

export interface RegionToInspect {
  layer: number;
  /** From 1. */
  region: number;
}

/** Regions that a job is to show. */
export interface Inspected {
  name: string;
  inspect: readonly RegionToInspect[];
}

export interface Job extends PartJob {
  /** Folder for the outputs; made when missing. */
  folder: string;
  /** Overwrite files that stand in the way and were not written by an earlier run. */
  force?: boolean;
  /** What the points are written to; supports.json and points.csv unless set. */
  formats?: readonly OutputFormat[];
  /** How supports.stl is built, where it is among the formats; as usual unless set. */
  scaffold?: ScaffoldJob;
  pictures: boolean;
  /** A page with the part, its slices and its points; none unless set. */
  report?: boolean;
  inspect: readonly RegionToInspect[];
  /** Leave everything that earlier runs wrote, but for what is written anew. */
  keep?: boolean;
}

export interface JobWatcher {
  progress: Progress;
  signal: AbortSignal;
  warn(sentence: string): void;
  /** Called before the work with the bytes that it may take; it waits until they are there. */
  admit?(bytes: number): Promise<void>;
}

/**
 * The whole road of one model: slices, analysis, outputs. The outputs appear together at the end, or
 * none of them. Throws a UserError for what the user can mend, Interrupted when the signal says so.
 */
export async function analyseMesh(job: Job, watcher: JobWatcher): Promise<Summary> {
  const started = performance.now();
  const geometry = job.formats?.includes('stl');
  const prepared = preparePart(job, { ...job, geometry }, commandHost);
  requireLayers(job, prepared.slicer.layerCount);
  const folder = OutputFolder.open(job.folder, {
    expected: expectedFiles(job),
    force: job.force ?? false,
  });
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    const waited = await admission(watcher, prepared.memory);
    const summary = await writeOutputs(job, watcher, prepared, folder);
    // What was inspected stays: it was asked for one by one.
    folder.commit((name) => job.keep === true || name.startsWith(`${inspectFolder}/`));
    const seconds = (performance.now() - started) / 1000 - waited;
    return { ...summary, seconds, peakMemory: 1024 * process.resourceUsage().maxRSS };
  } catch (error) {
    if (watcher.signal.aborted) throw new Interrupted();
    throw isLackOfMemory(error) ? outOfMemory(job.name, error) : error;
  } finally {
    folder.discard();
    process.off('exit', discard);
  }
}

/** Returns the seconds that it took. */
export async function admission({ admit }: JobWatcher, bytes: number): Promise<number> {
  const asked = performance.now();
  await admit?.(bytes);
  return (performance.now() - asked) / 1000;
}

function expectedFiles({
  formats = defaultFormats,
  scaffold,
  pictures,
  report,
  inspect,
}: Job): string[] {
  return [
    ...formats.map((format) => formatFiles[format]),
    ...(scaffold?.merge ? [mergedFile] : []),
    ...(pictures ? pictureNames : []),
    ...(report ? [reportName] : []),
    ...inspect.map((region) => `${inspectName(region)}.png`),
  ];
}

export function inspectName({ layer, region }: RegionToInspect): string {
  return `${inspectFolder}/layer_${String(layer).padStart(5, '0')}_region_${region}`;
}

/** A wrong layer is told at once, not when the whole model is analysed. */
export function requireLayers({ name, inspect }: Inspected, layers: number): void {
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
  prepared: PreparedPart,
  folder: OutputFolder,
): Promise<Omit<Summary, 'seconds' | 'peakMemory'>> {
  // Loaded while the first layers are analysed.
  const pictures = job.pictures ? import('./run_pictures.js') : undefined;
  pictures?.catch(() => {});
  let warnings: readonly string[] = [];
  try {
    const { slicer } = prepared;
    progress.start(slicer.layerCount, job.pictures ? drawingSeconds(slicer) : 0);
    const begin = performance.now();
    const analysed = await analysePart(prepared, {
      signal,
      layers: (done) => progress.layers(done),
      ...inspecting(job, folder),
    });
    const analysisSeconds = (performance.now() - begin) / 1000;
    const supported = await withGeometry(job, analysed, folder, signal);
    const { document } = supported;
    warnings = document.model.warnings;
    await writePoints(job, supported, folder, signal);
    if (job.report) {
      const { reportPage } = await import('./output/report.js');
      await folder.write(reportName, await reportPage(supported, progress.report, signal));
    }
    if (pictures !== undefined) {
      progress.pictures(0);
      const { drawPictures } = await pictures;
      const drawn = { ...job, ...supported };
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

/** The part as the other outputs tell of it. */
async function withGeometry(
  { formats = defaultFormats, scaffold: asked = usualScaffold }: Job,
  part: SupportedPart,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<SupportedPart & { built?: Triangles }> {
  if (!formats.includes('stl')) return part;
  const { buildSupports } = await import('./scaffold/supports_geometry.js');
  const { partWithSupportsStl, supportsStl } = await import('./output/supports_stl.js');
  const { scaffold, document } = await buildSupports(part, asked, signal);
  await folder.write(formatFiles.stl, supportsStl(scaffold, signal));
  if (asked.merge) await folder.write(mergedFile, partWithSupportsStl(part, scaffold, signal));
  return { ...part, document, built: scaffold.positions };
}

const usualScaffold: ScaffoldJob = { settings: {}, merge: false };

async function writePoints(
  { formats = defaultFormats }: Job,
  part: SupportedPart,
  folder: OutputFolder,
  signal: AbortSignal,
): Promise<void> {
  const { document } = part;
  if (formats.includes('json')) await folder.write(formatFiles.json, supportsJson(document));
  if (formats.includes('csv')) await folder.write(formatFiles.csv, pointsCsv(document.supports));
  if (formats.includes('3mf')) {
    const { threeMfProject } = await import('./output/three_mf.js');
    await folder.write(formatFiles['3mf'], threeMfProject(part, signal));
  }
}

/** About what the pictures take: they grow with the mesh and with the pixels of a slice. */
function drawingSeconds({ report, width, height }: Slicer): number {
  return 0.8 + 1.5e-6 * report.triangles + 1e-7 * width * height;
}

/** Draws the regions that are to be inspected when all layers are analysed. */
export function inspecting(
  job: Inspected,
  folder: OutputFolder,
): Required<Pick<LayersVisitor, 'layer' | 'finished'>> {
  const corners: Corners = new Map();
  return {
    layer: (result, index) => noteCorners(job.inspect, result, index, corners),
    finished: async (analysis, part, tally) => {
      requireRegions(job, tally);
      for (const region of job.inspect) {
        await writeRegion(region, analysis, pointsOf(region, part, corners), folder);
      }
    },
  };
}

/** What regions a layer has is known when it is analysed. */
function requireRegions({ name, inspect }: Inspected, { layers }: Tally): void {
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

function noteCorners(
  inspected: readonly RegionToInspect[],
  { layer: { groups } }: SliceResult,
  index: number,
  corners: Corners,
): void {
  for (const region of inspected) {
    if (region.layer !== index) continue;
    const group = groups[region.region - 1];
    corners.set(region, { column: group?.xMin ?? 0, row: group?.yMin ?? 0 });
  }
}

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
