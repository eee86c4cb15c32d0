import { drawing } from '../dom.js';
import type { Weight } from '../findings.js';
import type { Kind } from '../marks.js';

/** The mark of a point as a small picture. */
export function markIcon(kind: Kind): SVGElement {
  const shape =
    kind === 'island'
      ? drawing('path', { d: 'M8 1.5 14.5 8 8 14.5 1.5 8Z', class: 'mark-island' })
      : drawing('circle', { cx: 8, cy: 8, r: 5.2, class: 'mark-overhang' });
  return drawing('svg', { viewBox: '0 0 16 16', class: 'icon', 'aria-hidden': 'true' }, shape);
}

const weightShapes: Record<Weight, string> = {
  fault: 'M5 1.5h6L14.5 5v6L11 14.5H5L1.5 11V5Z',
  warning: 'M8 1.8 15 14H1Z',
  note: 'M2 2h12v12H2Z',
};

/** An octagon, a triangle or a square: how much a finding matters. */
export function weightIcon(weight: Weight): SVGElement {
  return drawing(
    'svg',
    { viewBox: '0 0 16 16', class: 'icon', role: 'img', 'aria-label': weight },
    drawing('path', { d: weightShapes[weight], class: `weight-${weight}` }),
  );
}
