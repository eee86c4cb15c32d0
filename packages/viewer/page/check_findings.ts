import type { CheckFinding, CheckRecord } from '../src/document.js';
import type { Finding, Weight } from './finding.js';
import { withSigns } from './words.js';

const weights: Record<CheckFinding['severity'], Weight> = {
  fails: 'fault',
  risk: 'warning',
  note: 'note',
};

/** What a check of the print says, as findings. */
export function checkFindings({ findings }: CheckRecord): Finding[] {
  return findings.map(({ severity, what, remedy, firstLayer, place }) => ({
    weight: weights[severity],
    title: withSigns(what[0].toUpperCase() + what.slice(1)),
    detail: withSigns(remedy),
    places: [place ?? { layer: firstLayer }],
  }));
}
