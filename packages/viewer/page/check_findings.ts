import type { CheckFinding, CheckRecord } from '../src/document.js';
import type { Finding, Weight } from './findings.js';

const weights: Record<CheckFinding['severity'], Weight> = {
  fails: 'fault',
  risk: 'warning',
  note: 'note',
};

/** What a check of the print says, as findings. */
export function checkFindings({ findings }: CheckRecord): Finding[] {
  return findings.map(({ severity, what, remedy, firstLayer, place }) => ({
    weight: weights[severity],
    title: what[0].toUpperCase() + what.slice(1),
    detail: remedy,
    places: [place ?? { layer: firstLayer }],
  }));
}
