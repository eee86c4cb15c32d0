import type { AnalysisParameters } from 'stiltforge';
import { AnalysisError, estimateMemory } from 'stiltforge/analysis';
import { ExitCode, messageOf, UserError } from './errors.js';
import { mostDrawnBuilt } from './shown_supports.js';

/** What the process takes before it has read a mesh, bytes. */
const processBytes = 100e6;

/** The mesh here, its copy in the slicer and what the slicer knows of it, bytes a triangle. */
const bytesPerTriangle = 200;

/** What draws, and what it draws on, bytes. */
const drawingBytes = 150e6;

/** What makes a report, bytes, and of it what follows the mesh, bytes a triangle. */
const reportBytes = 200e6;
const reportBytesPerTriangle = 120;

/** What builds supports as geometry, bytes a triangle of the part and a support. */
const builderBytesPerTriangle = 130;
const builtBytesPerSupport = 30e3;

/**
 * Slices in memory at once, as runs: those of a job, those cut meanwhile for the next, and those of the
 * last one, which are surveyed.
 */
const slicesInHand = 12;

/** What the survey keeps of the overhang below a pixel of the part's outline, bytes. */
const surveyedBytesPerPixel = 6;

/** A row of a layer that is kept to look for room below supports, bytes. */
const keptBytesPerRow = 40;

/** Of a support and of one that is left out, here and in the outputs, bytes. */
const bytesPerSupport = 4000;

/** Times that a part, seen from below, hangs over. */
const overhangsPerPixel = 2;

/** Slices painted at once: one analysed, one waiting, one being painted. */
const picturesInHand = 3;

/** Most pixels of a slice that the analysis takes. */
const mostPixels = 2 ** 31 - 1;

/** What a run makes of the part. */
export interface Making {
  pictures: boolean;
  report?: boolean;
  /** Supports as geometry. */
  geometry?: boolean;
  /** Whether the layers are cut already. */
  isCut?: boolean;
  /** That a support needs below it. */
  layersBelow: number;
}

/** Bytes that the process takes at its peak. */
export function predictedMemory(
  parameters: AnalysisParameters,
  triangles: number,
  { pictures, report, geometry, layersBelow }: Making,
): number {
  const pixels = parameters.width * parameters.height;
  const supports = (overhangsPerPixel * pixels) / parameters.supportStrength;
  const survey =
    surveyedBytesPerPixel * pixels +
    keptBytesPerRow * Math.min(layersBelow, parameters.numLayer) * parameters.height +
    bytesPerSupport * supports;
  const analysis = estimateMemory(parameters, { queuedSlices: slicesInHand }).total;
  const painting = pictures
    ? 4 * pixels * picturesInHand +
      estimateMemory({ ...parameters, needBuffer: true, addSupport: false }, { heldResults: 2 })
        .total
    : 0;
  // A report shows supports as they are built, and so do the pictures of a small part.
  const mostBuilt = (all: number, ofSmall: number): number =>
    geometry || report ? all : pictures ? Math.min(all, ofSmall) : 0;
  const built = builtBytesPerSupport * mostBuilt(supports, mostDrawnBuilt.supports);
  const building = builderBytesPerTriangle * mostBuilt(triangles, mostDrawnBuilt.triangles) + built;
  const reporting = report ? reportBytes + reportBytesPerTriangle * triangles + built : 0;
  return (
    processBytes +
    bytesPerTriangle * triangles +
    (pictures ? drawingBytes : 0) +
    survey +
    Math.max(analysis, painting, reporting, building)
  );
}

/** What a check of layers keeps of each pixel, bytes. */
const checkedBytesPerPixel = 4;

/** Bytes that the check of a file takes at its peak. */
export function predictedCheckMemory(
  { width, height }: { width: number; height: number },
  triangles: number,
  report: boolean,
): number {
  return (
    processBytes +
    bytesPerTriangle * triangles +
    checkedBytesPerPixel * width * height +
    (report ? reportBytes + reportBytesPerTriangle * triangles : 0)
  );
}

/** For layers that are cut already: those of a mesh are as large as the part, not as the plate. */
const meshInstead = 'Give the mesh that it was made of, or export it with larger pixels';

/**
 * Throws a UserError when a run is larger than the analysis allows or than `most` bytes, before it
 * starts. Otherwise it would end in the middle, or with it the whole machine. Returns the bytes that it
 * may take.
 */
export function requireMemory(
  parameters: AnalysisParameters,
  triangles: number,
  making: Making,
  most: number,
): number {
  const { width, height } = parameters;
  const slices = making.isCut
    ? `its layers have ${width} x ${height} pixels`
    : `the part covers ${width} x ${height} pixels of the screen`;
  const remedy = making.isCut
    ? meshInstead
    : 'Choose larger pixels with --pixel-size, or a smaller part';
  if (width * height > mostPixels) {
    const limit = mostPixels.toLocaleString('en-US');
    throw new UserError(
      ExitCode.memory,
      `${slices}, and the analysis takes at most ${limit} of them. ${remedy}.`,
    );
  }
  const predicted = predictedMemory(parameters, triangles, making);
  if (predicted <= most) return predicted;
  const enough = ((1.01 * predicted) / 1e9).toPrecision(3);
  throw new UserError(
    ExitCode.memory,
    `${slices}, for which the run may take ${sizeText(predicted)} of memory, ` +
      `more than the ${sizeText(most)} there are. ${remedy}; --memory ${enough} starts it anyway.`,
  );
}

function sizeText(bytes: number): string {
  return bytes < 1e9 ? `${Math.ceil(bytes / 1e6)} MB` : `${(bytes / 1e9).toPrecision(3)} GB`;
}

/** Whether the analysis or the slicer ended for want of memory. */
export function isLackOfMemory(error: unknown): boolean {
  return error instanceof AnalysisError
    ? error.code === 'ERR_STILTFORGE_MEMORY'
    : /^There is not enough memory/.test(messageOf(error));
}

/** `isCut`: it has layers, not a mesh. */
export function outOfMemory(name: string, error: unknown, isCut = false): UserError {
  const remedy = isCut
    ? meshInstead
    : 'Choose larger pixels with --pixel-size, or close other programs';
  return new UserError(ExitCode.memory, `${name}: ${messageOf(error)} ${remedy}.`, {
    cause: error,
  });
}
