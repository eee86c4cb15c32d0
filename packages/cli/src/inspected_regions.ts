// Regions of a run whose sampling is shown, in a folder beside its other outputs.
import type { Analysis, SliceResult } from 'stiltforge/analysis';
import { ExitCode, UserError } from './errors.js';
import type { LayersVisitor } from './finished_layers.js';
import type { HeldPart, SlicePoint } from './held_part.js';
import type { OutputFolder } from './output/output_folder.js';
import { markOf } from './point_marks.js';
import { type RegionPoint, regionPictures } from './region_pictures.js';
import type { Tally } from './tally.js';
import { counted } from './wording.js';

const inspectFolder = 'inspect';

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

function inspectName({ layer, region }: RegionToInspect): string {
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

/** What is written of them first. */
export function inspectedFiles({ inspect }: Inspected): string[] {
  return inspect.map((region) => `${inspectName(region)}.png`);
}

/** Whether a file of an earlier run shows a region. */
export function isOfRegion(file: string): boolean {
  return file.startsWith(`${inspectFolder}/`);
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
