import type { Scaffold } from 'stiltforge/scaffold';
import type { Slicer } from 'stiltforge/slicing';
import { commandHost } from './command_host.js';
import { type Inspected, inspectedFiles, inspecting, requireLayers } from './inspected_regions.js';
import { pointsCsv, supportsJson } from './output/documents.js';
import { defaultFormats, formatFiles, mergedFile, type OutputFormat } from './output/formats.js';
import type { OutputFolder } from './output/output_folder.js';
import { reportName } from './output/report_name.js';
import { pictureNames } from './picture_names.js';
import { type FolderJob, type JobWatcher, runIntoFolder } from './run_into_folder.js';
import type { ScaffoldJob } from './scaffold/supports_geometry.js';
import { withShownSupports } from './shown_supports.js';
import type { Summary } from './summary.js';
import {
  analysePart,
  type PartJob,
  type PreparedPart,
  preparePart,
  type SupportedPart,
} from './supported_part.js';

export interface Job extends PartJob, FolderJob, Inspected {
  /** What the points are written to; supports.json and points.csv unless set. */
  formats?: readonly OutputFormat[];
  /** How supports.stl is built, where it is among the formats; as usual unless set. */
  scaffold?: ScaffoldJob;
  pictures: boolean;
  /** A page with the part, its slices and its points; none unless set. */
  report?: boolean;
}

/**
 * The whole road of one model: slices, analysis, outputs. The outputs appear together at the end, or
 * none of them. Throws a UserError for what the user can mend, Interrupted when the signal says so.
 */
export function analyseMesh(job: Job, watcher: JobWatcher): Promise<Summary> {
  return runIntoFolder(job, watcher, () => {
    const geometry = job.formats?.includes('stl');
    const prepared = preparePart(job, { ...job, geometry }, commandHost);
    requireLayers(job, prepared.slicer.layerCount);
    return {
      expected: expectedFiles(job),
      memory: prepared.memory,
      write: (folder) => writeOutputs(job, watcher, prepared, folder),
    };
  });
}

function expectedFiles(job: Job): string[] {
  const { formats = defaultFormats, scaffold, pictures, report } = job;
  return [
    ...formats.map((format) => formatFiles[format]),
    ...(scaffold?.merge ? [mergedFile] : []),
    ...(pictures ? pictureNames : []),
    ...(report ? [reportName] : []),
    ...inspectedFiles(job),
  ];
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
    const supported = await withGeometry(job, analysed, { progress, signal });
    const { document } = supported;
    warnings = document.model.warnings;
    await writePoints(job, supported, folder);
    await writeGeometry(job, supported, folder, { progress, signal });
    const shown = await withShownSupports(job, supported, progress.supports, signal);
    if (job.report) {
      const { reportPage } = await import('./output/report.js');
      await folder.write(reportName, await reportPage(shown, progress.report, signal));
    }
    if (pictures !== undefined) {
      progress.pictures(0);
      const { drawPictures } = await pictures;
      const drawn = { ...job, ...shown };
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

/** A part, with its supports as geometry where they are asked for. */
type PartInWork = SupportedPart & { built?: Scaffold };

/** The part as the outputs tell of it. */
async function withGeometry(
  { formats = defaultFormats, scaffold: asked = usualSettings }: Job,
  part: SupportedPart,
  { progress, signal }: Pick<JobWatcher, 'progress' | 'signal'>,
): Promise<PartInWork> {
  if (!formats.includes('stl')) return part;
  const { buildSupports } = await import('./scaffold/supports_geometry.js');
  const { scaffold, document } = await buildSupports(part, asked, progress.supports, signal);
  return { ...part, document, built: scaffold };
}

const usualSettings: ScaffoldJob = { settings: {}, merge: false };

async function writePoints(
  { formats = defaultFormats }: Job,
  { document }: SupportedPart,
  folder: OutputFolder,
): Promise<void> {
  if (formats.includes('json')) await folder.write(formatFiles.json, supportsJson(document));
  if (formats.includes('csv')) await folder.write(formatFiles.csv, pointsCsv(document.supports));
}

/** A file in pieces, which tells the share of it that is made. */
type Pieces = (progress: (share: number) => void) => AsyncIterable<Uint8Array>;

/** The files that are large where the mesh is. */
async function writeGeometry(
  { formats = defaultFormats, scaffold: { merge } = usualSettings }: Job,
  part: PartInWork,
  folder: OutputFolder,
  { progress, signal }: Pick<JobWatcher, 'progress' | 'signal'>,
): Promise<void> {
  const files: [name: string, pieces: Pieces][] = [];
  const { built } = part;
  if (built !== undefined) {
    const { partWithSupportsStl, supportsStl } = await import('./output/supports_stl.js');
    files.push([formatFiles.stl, (told) => supportsStl(built, signal, told)]);
    if (merge) files.push([mergedFile, (told) => partWithSupportsStl(part, built, signal, told)]);
  }
  if (formats.includes('3mf')) {
    const { threeMfProject } = await import('./output/three_mf.js');
    files.push([formatFiles['3mf'], (told) => threeMfProject(part, signal, told)]);
  }
  for (const [i, [name, pieces]] of files.entries()) {
    const told = (share: number): void => progress.files((i + share) / files.length);
    await folder.write(name, pieces(told));
  }
}

/** About what the pictures take: they grow with the mesh and with the pixels of a slice. */
function drawingSeconds({ report, width, height }: Slicer): number {
  return 0.8 + 1.5e-6 * report.triangles + 1e-7 * width * height;
}
