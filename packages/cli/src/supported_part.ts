import type { AnalysisParameters } from 'stiltforge/analysis';
import type { Triangles } from 'stiltforge/slicing';
import {
  analysisParameters,
  createSlicer,
  defaultSupport,
  type PrintSettings,
  type Slicer,
  type SupportSettings,
} from 'stiltforge/slicing';
import { codeOf, ExitCode, messageOf, UserError } from './errors.js';
import { type FinishedLayers, finishLayers, type LayersVisitor } from './finished_layers.js';
import type { Host } from './host.js';
import { type Making, requireMemory } from './memory.js';
import { turnedBack } from './mesh/turned_back.js';
import { nameOfPath } from './name_of_path.js';
import type { SupportsDocument } from './output/documents.js';
import { meshPlaces, Records } from './output/records.js';
import type { PartOptions } from './part_options.js';
import type { PlateMove } from './plate/arrange.js';
import { checkSettings } from './setting_ranges.js';
import { meshWarnings } from './warnings.js';

/** Pixels left free around the model, so that its contour is one on all sides. */
const margin = 2;

export interface PartJob {
  /** What the outputs and errors call the model: its file. */
  name: string;
  mesh: Triangles;
  /** Sentences about its file, to be passed on with those about the mesh itself. */
  meshWarnings?: readonly string[];
  /** What was done to the mesh of the file; told in supports.json. */
  placement?: PartOptions;
  /** Meshes that it was put together of, where it was; told in supports.json. */
  plate?: readonly PlateMove[];
  print: PrintSettings;
  support: SupportSettings;
  /** Parameters in place of those that follow from the settings. */
  parameters?: Partial<AnalysisParameters>;
  /** Leave the points as the analysis places them. */
  asAnalysed?: boolean;
  /** Bytes that the run may take; what the host allows unless set. */
  memory?: number;
}

/** A part with its supports: what outputs are made of. */
export interface SupportedPart extends FinishedLayers {
  /** Everything that supports.json says. */
  document: SupportsDocument;
  /** As it was sliced: triangles that disagreed with their neighbours are turned around. */
  mesh: Triangles;
  slicer: Slicer;
  parameters: AnalysisParameters;
}

export interface PreparedPart {
  job: PartJob;
  host: Host;
  slicer: Slicer;
  parameters: AnalysisParameters;
  /** Bytes that the run may take. */
  memory: number;
}

/** Throws a UserError, before anything is analysed, when the settings or the mesh can't be used. */
export function preparePart(
  job: PartJob,
  making: Omit<Making, 'layersBelow'>,
  host: Host,
): PreparedPart {
  checkSettings(job.print, job.support);
  const slicer = makeSlicer(job);
  const derived = analysisParameters(job.print, job.support, slicer);
  const parameters = { ...derived, ...job.parameters };
  const most = job.memory ?? host.memory;
  const memory = requirePossible(parameters, slicer.report.triangles, job, making, most);
  return { job, host, slicer, parameters, memory };
}

function makeSlicer({ name, mesh, print, support }: PartJob): Slicer {
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

/**
 * Parameters that can't work together, and a run that needs more than `most` bytes, are told at once, too.
 * Returns the bytes that it may take.
 */
export function requirePossible(
  parameters: AnalysisParameters,
  triangles: number,
  job: Pick<PartJob, 'print' | 'support'>,
  making: Omit<Making, 'layersBelow'>,
  most: number,
): number {
  try {
    const { minimumHeight = defaultSupport.minimumHeight } = job.support;
    const layersBelow = minimumHeight / job.print.layerHeight;
    return requireMemory(parameters, triangles, { ...making, layersBelow }, most);
  } catch (error) {
    if (codeOf(error) !== 'ERR_STILTFORGE_PARAMETER') throw error;
    throw new UserError(ExitCode.usage, messageOf(error), { cause: error });
  }
}

/** Analyses all layers and finishes the points. */
export async function analysePart(
  { job, host, slicer, parameters }: PreparedPart,
  visitor: LayersVisitor,
): Promise<SupportedPart> {
  const empty = (): UserError => emptySlices(job, slicer);
  const finished = await finishLayers(slicer, parameters, job, visitor, empty);
  const document = documentOf(job, host, slicer, parameters, finished);
  const mesh = turnedBack(job.mesh, slicer.turnedTriangles);
  return { document, mesh, slicer, parameters, ...finished };
}

function documentOf(
  job: PartJob,
  host: Host,
  slicer: Slicer,
  parameters: AnalysisParameters,
  { tally, part }: FinishedLayers,
): SupportsDocument {
  const { print, support } = job;
  const sliceVolume = tally.materialPixels * print.pixelSize ** 2 * print.layerHeight;
  const { report } = slicer;
  const { minimumHeight = defaultSupport.minimumHeight } = support;
  const warnings = [
    ...(job.meshWarnings ?? []),
    ...meshWarnings({
      ...{ report, sliceVolume, layers: tally.layers, part },
      ...{ heights: print, pixelSize: print.pixelSize, lift: print.lift, minimumHeight },
    }),
  ];

  const records = new Records(print, meshPlaces(print, slicer, job.plate));
  const { bounds, ...mesh } = report;
  return {
    generator: host.generator,
    model: {
      file: nameOfPath(job.name),
      ...(job.placement === undefined ? {} : { placement: job.placement }),
      ...(job.plate === undefined ? {} : { plate: job.plate }),
      ...{ ...bounds, mesh, sliceVolume, warnings },
    },
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
    ...records.ofPart(part, tally),
  };
}

/** The slices show nothing, which is either the pixels' fault or the mesh's. */
function emptySlices({ name, print }: PartJob, { report }: Slicer): UserError {
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
