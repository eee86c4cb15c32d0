import type { MeshReport } from 'stiltforge/slicing';
import type { LayerTally } from './tally.js';
import { counted, volumeText } from './wording.js';

const mostGapsTold = 3;

/** From this share on a difference between the slices' volume and the mesh's is worth a word. */
const strikingDifference = 0.01;

export interface Findings {
  report: MeshReport;
  /** mm3 of material in the slices. */
  sliceVolume: number;
  layers: readonly LayerTally[];
  /** mm */
  layerHeight: number;
}

/** Sentences that a person should read before trusting the supports of a mesh. */
export function meshWarnings({ report, sliceVolume, layers, layerHeight }: Findings): string[] {
  return [
    ...(report.openParts > 0
      ? [openSurface(report)]
      : volumeDifference(sliceVolume, report.expectedVolume)),
    ...sealedVoids(report.cavities),
    ...emptyLayers(layers, layerHeight),
  ];
}

function openSurface({ openEdges, misorientedEdges, nonManifoldEdges }: MeshReport): string {
  const flaws =
    openEdges > 0
      ? counted(openEdges, 'open edge')
      : `${counted(misorientedEdges + nonManifoldEdges, 'edge')} whose triangles don't fit together`;
  return (
    `The mesh has ${flaws}, so what is inside was guessed: ` +
    'look at the slices, or repair the mesh.'
  );
}

function volumeDifference(slices: number, mesh: number): string[] {
  const difference = slices / mesh - 1;
  if (Math.abs(difference) <= strikingDifference) return [];
  const share = mesh > 0 ? `${(100 * Math.abs(difference)).toFixed(1)} % ` : '';
  return [
    `The slices hold ${volumeText(slices)}, ${share}${difference < 0 ? 'less' : 'more'} than the ` +
      `mesh's ${volumeText(mesh)}: parts overlap or are inside out, or details are finer than a ` +
      'pixel or a layer.',
  ];
}

function sealedVoids(cavities: number): string[] {
  if (cavities === 0) return [];
  return [
    `The part has ${counted(cavities, 'sealed void')}, in which resin stays and from which supports ` +
      "can't be taken out: make a drain hole, or fill what is hollow.",
  ];
}

interface Gap {
  /** Layers, `end` not included. */
  first: number;
  end: number;
}

/** Runs of layers without material that have material above them. */
function gapsIn(layers: readonly LayerTally[]): Gap[] {
  const gaps: Gap[] = [];
  let first = 0;
  layers.forEach(({ regions }, layer) => {
    if (regions === 0) return;
    if (layer > first) gaps.push({ first, end: layer });
    first = layer + 1;
  });
  return gaps;
}

function emptyLayers(layers: readonly LayerTally[], layerHeight: number): string[] {
  const mm = (count: number): string => `${(count * layerHeight).toFixed(2)} mm`;
  const gaps = gapsIn(layers);
  const sentences = gaps.slice(0, mostGapsTold).map(({ first, end }) => {
    const empty = end === first + 1 ? `layer ${first} is` : `layers ${first} to ${end - 1} are`;
    return first === 0
      ? `The part begins ${mm(end)} above the plate (${empty} empty) and stands on supports alone: ` +
          'its lowest point is finer than a pixel, or something stray lies below it.'
      : `A gap of ${mm(end - first)} begins ${mm(first)} above the plate (${empty} empty): what is ` +
          'above it stands on supports alone.';
  });
  const rest = gaps.length - sentences.length;
  return rest > 0 ? [...sentences, `${counted(rest, 'more gap')} are above these.`] : sentences;
}
