import { bottomOfLayer, type LayerHeights, type MeshReport } from 'stiltforge/slicing';
import type { HeldPart } from './held_part.js';
import type { LayerTally } from './tally.js';
import { areaText, counted, lengthText, volumeText } from './wording.js';

const mostGapsTold = 3;

/** From this share on a difference between the slices' volume and the mesh's is worth a word. */
const strikingDifference = 0.01;

/** mm2 of overhang: a void with less is a crack or a speck, in which no resin is worth a word. */
const leastVoid = 0.25;

export interface Findings {
  report: MeshReport;
  /** mm3 of material in the slices. */
  sliceVolume: number;
  /** mm: what is finer no slice shows. */
  pixelSize: number;
  layers: readonly LayerTally[];
  heights: LayerHeights;
  /** mm above the plate from which on a support fits. */
  minimumHeight: number;
  part: HeldPart;
  /** mm from the plate to the part, as it was asked for. */
  lift?: number;
}

/** Sentences that a person should read before trusting the supports of a mesh. */
export function meshWarnings(findings: Findings): string[] {
  const { report } = findings;
  return [
    ...openSurface(report, findings.pixelSize),
    ...volumeDifference(findings),
    ...sealedVoids(report.cavities, findings),
    ...emptyLayers(findings),
    ...floatingParts(findings),
    ...withoutRoom(findings),
  ];
}

/** What layers that a file brings have in common with those of a mesh. */
type LayerFindings = Omit<Findings, 'report' | 'sliceVolume' | 'pixelSize'>;

/** The same of layers that a file brings. */
export function layerWarnings(findings: LayerFindings): string[] {
  return [...sealedVoids(0, findings), ...emptyLayers(findings), ...withoutRoom(findings)];
}

/** What had to be guessed of a mesh that is not closed. */
export function openSurface(report: MeshReport, pixelSize: number): string[] {
  if (report.openParts === 0) return [];
  const { openEdges, misorientedEdges, nonManifoldEdges, widestGap } = report;
  if (openEdges > 0 && widestGap === 0) {
    return [
      `The mesh has ${counted(openEdges, 'open edge')} around level holes, which slices take for closed: ` +
        'a surface that is meant to be hollow needs a thickness.',
    ];
  }
  if (widestGap <= pixelSize) return [];
  if (openEdges > 0) {
    return [
      `The mesh has ${counted(openEdges, 'open edge')}, so what is inside was guessed across gaps of up to ` +
        `${lengthText(widestGap)} mm: look at the slices, and close the mesh or give its surface a thickness.`,
    ];
  }
  const unfit = counted(misorientedEdges + nonManifoldEdges, 'edge');
  return [
    `The mesh has ${unfit} whose triangles don't fit together, so what is inside was guessed: ` +
      'look at the slices, or repair the mesh.',
  ];
}

function volumeDifference({ report, sliceVolume: slices, heights }: Findings): string[] {
  const { expectedVolume: mesh, bounds, openParts } = report;
  // That of an open part depends on how it is closed.
  if (openParts > 0) return [];
  const difference = slices / mesh - 1;
  // Layers end up to half of one above or below a level face.
  const rounding = heights.layerHeight / (2 * (bounds.max[2] - bounds.min[2]));
  if (Math.abs(difference) <= Math.max(strikingDifference, rounding)) return [];
  const share = mesh > 0 ? `${(100 * Math.abs(difference)).toFixed(1)} % ` : '';
  return [
    `The slices hold ${volumeText(slices)}, ${share}${difference < 0 ? 'less' : 'more'} than the ` +
      `mesh's ${volumeText(mesh)}: parts overlap or are inside out, or details are finer than a ` +
      'pixel or a layer.',
  ];
}

/** Those of the mesh, or else what the slices enclose: parts that overlap may seal a void, too. */
function sealedVoids(cavities: number, { part }: LayerFindings): string[] {
  const fate =
    "in which resin stays and from which supports can't be taken out: make a drain hole, or fill " +
    'what is hollow.';
  const left = part.dropped.filter(({ reason }) => reason === 'sealedVoid').length;
  const unsupported =
    left === 0
      ? ''
      : ` ${counted(left, 'support that was wanted there is', 'supports that were wanted there are')} left out.`;
  if (cavities > 0)
    return [`The part has ${counted(cavities, 'sealed void')}, ${fate}${unsupported}`];
  const { area } = part.verdict.overhangInSealedVoids;
  if (area < leastVoid && left === 0) return [];
  return [`The slices enclose voids with ${areaText(area)} of overhang, ${fate}${unsupported}`];
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

function emptyLayers({ layers, heights, lift = 0 }: LayerFindings): string[] {
  const mm = (end: number, first = 0): string =>
    `${(bottomOfLayer(heights, end) - bottomOfLayer(heights, first)).toFixed(2)} mm`;
  // A lifted part begins where it is meant to, or a layer above where its tip is finer than a pixel.
  const lifted = Math.ceil(lift / heights.layerHeight - 0.5);
  const gaps = gapsIn(layers).filter(
    ({ first, end }) => first > 0 || lifted <= 0 || end > lifted + 1,
  );
  const sentences = gaps.slice(0, mostGapsTold).map(({ first, end }) => {
    const empty = end === first + 1 ? `layer ${first} is` : `layers ${first} to ${end - 1} are`;
    return first === 0
      ? `The part begins ${mm(end)} above the plate (${empty} empty) and stands on supports alone: ` +
          'its lowest point is finer than a pixel, or something stray lies below it.'
      : `A gap of ${mm(end, first)} begins ${mm(first)} above the plate (${empty} empty): what is ` +
          'above it stands on supports alone.';
  });
  const rest = gaps.length - sentences.length;
  return rest > 0
    ? [...sentences, `${counted(rest, 'more gap is', 'more gaps are')} above these.`]
    : sentences;
}

/** A part that empty layers lie below is told with them. */
function floatingParts({ report, layers, heights }: Findings): string[] {
  const { floatingParts: count, floatingFrom } = report;
  if (count === 0) return [];
  const isTold = gapsIn(layers).some(({ end }) => bottomOfLayer(heights, end - 1) <= floatingFrom);
  if (isTold) return [];
  const mm = `${floatingFrom.toFixed(2)} mm above the plate`;
  return [
    count === 1
      ? `A part of the model stands on nothing, ${mm}: supports alone hold it, or it was meant to touch ` +
        'what is beside it.'
      : `${counted(count, 'part')} of the model stand on nothing, the lowest ${mm}: supports alone hold ` +
        'them, or they were meant to touch what is beside them.',
  ];
}

/** Of what was left out only what is near the plate can be mended there. */
function withoutRoom({ part, heights, minimumHeight, lift = 0 }: LayerFindings): string[] {
  const nearPlate = part.dropped.filter(
    ({ reason, layer }) => reason === 'noRoom' && bottomOfLayer(heights, layer) < minimumHeight,
  );
  if (nearPlate.length === 0) return [];
  // What lay on the plate hangs over it once the part is lifted, so less would leave more without room.
  const least = Math.max(lift + part.lift, minimumHeight);
  const layers = Math.ceil(least / heights.layerHeight - 1e-6);
  const enough = (layers * heights.layerHeight).toFixed(2);
  return [
    `${counted(nearPlate.length, 'support was', 'supports were')} left out less than ${minimumHeight} mm ` +
      `above the plate, where none fits: lay the part flat on the plate, or lift it by ${enough} mm or more.`,
  ];
}
