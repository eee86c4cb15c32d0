import { basename } from 'node:path';
import type { CheckReport } from 'stiltforge/check';
import {
  bottomOfLayer,
  createLayerSlicer,
  type LayerHeights,
  type LayerSlicer,
  type PrinterFile,
  type PrintSettings,
} from 'stiltforge/slicing';
import type { PartSource } from 'stiltforge-viewer';
import { commandHost } from '../command_host.js';
import { inOutputFolder } from '../output/output_folder.js';
import { packedLayers } from '../output/packed_layers.js';
import { pageOf, pageWith } from '../output/report.js';
import { reportName } from '../output/report_name.js';
import { usualScaffold } from '../output/usual_scaffold.js';
import { boxOnPlate, type PixelBox, type PrintedFile } from '../printed_file.js';
import type { CheckInput, MeshLayers } from './input.js';
import type { SupportPlace } from './points.js';

export interface CheckReporting {
  /** Degrees. */
  criticalAngle: number;
  /** Supports of a mesh. */
  supports?: readonly SupportPlace[];
  progress?: (share: number) => void;
  signal?: AbortSignal;
}

/** Writes the page with what was found into a folder; whole or not at all. Throws a UserError where it can't. */
export function writeCheckReport(
  folder: string,
  force: boolean,
  makePage: () => Promise<string>,
): Promise<void> {
  return inOutputFolder(folder, { expected: [reportName], force }, async (outputs) => {
    await outputs.write(reportName, await makePage());
    outputs.commit(() => false);
  });
}

/** A page with a print and what a check found in it. Throws the signal's reason. */
export function checkReportPage(
  file: string,
  input: CheckInput,
  report: CheckReport,
  reporting: CheckReporting,
): Promise<string> {
  const { source } = input;
  return 'printed' in source
    ? printPage(file, source.printed, report, reporting)
    : meshPage(file, source, input, report, reporting);
}

function documentOf(
  file: string,
  report: CheckReport,
  { criticalAngle }: CheckReporting,
  print: PartSource['part']['print'],
  box: { min: readonly number[]; max: readonly number[] },
): PartSource['part'] {
  return {
    generator: commandHost.generator,
    model: { file: basename(file), ...box, sliceVolume: report.volume },
    print,
    settings: { criticalAngle },
    supports: [],
    check: report,
  };
}

async function printPage(
  name: string,
  printed: PrintedFile,
  report: CheckReport,
  reporting: CheckReporting,
): Promise<string> {
  const { file, print } = printed;
  const { progress, signal } = reporting;
  const { layerHeight, pixelSize } = print;
  const layers = createLayerSlicer(file, { layerHeight, pixelSize });
  const { box, top } = await boxOf(file, layers, signal);
  const corners = boxOnPlate(printed, box);
  const crop = { column: 0, row: 0, width: file.width, height: file.height };
  const part = documentOf(name, report, reporting, whole(print, file.layerCount, crop), {
    min: [...corners.min, 0],
    max: [...corners.max, bottomOfLayer(print, top + 1)],
  });
  return pageWith(await packedLayers({ printed, layers, box, top, part }, progress, signal));
}

function whole(
  print: PrintSettings & LayerHeights,
  layers: number,
  crop: PartSource['part']['print']['crop'],
): PartSource['part']['print'] {
  const { layerHeight, firstLayerHeight, pixelSize, screenWidth, screenHeight, lift = 0 } = print;
  return {
    ...{ layerHeight, firstLayerHeight, pixelSize },
    ...{ screenWidth, screenHeight, lift, layers, crop },
  };
}

async function meshPage(
  file: string,
  { slicer, mesh, lift }: MeshLayers,
  { print, points = [] }: CheckInput,
  report: CheckReport,
  { supports = [], ...reporting }: CheckReporting,
): Promise<string> {
  const { layerHeight, pixelWidth: pixelSize, screenWidth, screenHeight } = print;
  const crop = {
    ...{ column: slicer.cropX, row: slicer.cropY },
    ...{ width: slicer.width, height: slicer.height },
  };
  const settings = { layerHeight, pixelSize, screenWidth, screenHeight, lift };
  const { bounds } = slicer.report;
  const part = documentOf(
    file,
    report,
    reporting,
    whole(settings, slicer.layerCount, crop),
    bounds,
  );
  const { progress, signal } = reporting;
  const { plateZ } = slicer;
  const scaffold =
    supports.length === 0
      ? undefined
      : await usualScaffold({ positions: mesh, points: supports, plateZ, layerHeight, signal });
  const source: PartSource = {
    part: {
      ...part,
      supports: supports.map(({ x, y, z, region = 0, kind = 'overhang' }, i) => ({
        ...{ x, y, z, ...points[i], region, kind },
      })),
    },
    positions: mesh,
    runs: (first, count) => slicer.runs(first, count),
    scaffold,
  };
  return pageOf(source, { progress, signal });
}

const layersAtOnce = 16;

/** Around all material; around the first pixel where there is none. */
async function boxOf(
  { width, height, layerCount }: PrinterFile,
  layers: LayerSlicer,
  signal?: AbortSignal,
): Promise<{ box: PixelBox; top: number }> {
  const box: PixelBox = { left: width, top: height, right: 0, bottom: 0 };
  let top = 0;
  for (let first = 0; first < layerCount; first += layersAtOnce) {
    signal?.throwIfAborted();
    const count = Math.min(layersAtOnce, layerCount - first);
    for (const [i, layer] of (await layers.runs(first, count)).entries()) {
      if (layer.begin.length === 0) continue;
      top = first + i;
      extend(box, layer);
    }
  }
  return box.right > 0 ? { box, top } : { box: { left: 0, top: 0, right: 1, bottom: 1 }, top };
}

function extend(
  box: PixelBox,
  { rowStart, begin, end }: { rowStart: Uint32Array; begin: Uint16Array; end: Uint16Array },
): void {
  for (let row = 0; row + 1 < rowStart.length; row++) {
    const [first, last] = [rowStart[row], rowStart[row + 1] - 1];
    if (first > last) continue;
    box.left = Math.min(box.left, begin[first]);
    box.right = Math.max(box.right, end[last]);
    box.top = Math.min(box.top, row);
    box.bottom = Math.max(box.bottom, row + 1);
  }
}
