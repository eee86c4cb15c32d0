import { checkPrint } from 'stiltforge/check';
import type { PackedPart } from 'stiltforge-viewer';
import { checkedPrint } from '../printed_file.js';
import type { PreparedPrint, SupportedPrint } from '../supported_print.js';
import { packedLayers } from './packed_layers.js';
import { besidePoints, reported, strengthOf } from './packed_report.js';

/** Of the work, what the check takes. */
const checkShare = 0.4;

/**
 * All that there is to see of a print and its points, with what a check finds beside them. `progress` is
 * told the share that is done, from 0 to 1. Throws the signal's reason.
 */
export async function packedPrint(
  { job, slicer }: PreparedPrint,
  { document, part, box, top, owedPixels }: SupportedPrint,
  progress?: (share: number) => void,
  signal?: AbortSignal,
): Promise<PackedPart> {
  const { printed } = job;
  const { criticalAngle } = job.support;
  const check = await checkPrint(slicer, {
    ...checkedPrint(printed),
    ...{ points: part.points, criticalAngle, signal },
    progress: (done, total) => progress?.((checkShare * done) / total),
  });
  const source = {
    ...{ printed, box, top, layers: slicer },
    part: { ...reported(document, part), check: besidePoints(check) },
    strength: strengthOf(document, owedPixels),
  };
  const packing = (share: number): void => progress?.(checkShare + (1 - checkShare) * share);
  return packedLayers(source, packing, signal);
}
