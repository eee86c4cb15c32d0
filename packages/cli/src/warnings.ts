import type { MeshReport } from './slicer.js';
import { counted, volumeText } from './wording.js';

/** From this share on a difference between the slices' volume and the mesh's is worth a word. */
const strikingDifference = 0.01;

export interface Findings {
  report: MeshReport;
  /** mm3 of material in the slices. */
  sliceVolume: number;
}

/** Sentences that a person should read before trusting the supports of a mesh. */
export function meshWarnings({ report, sliceVolume }: Findings): string[] {
  return [
    ...(report.openParts > 0
      ? [openSurface(report)]
      : volumeDifference(sliceVolume, report.expectedVolume)),
    ...sealedVoids(report.cavities),
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
