import { drawing } from '../dom.js';
import type { Weight } from '../finding.js';
import type { Mark } from '../marks.js';

const markShapes: Record<Mark, string> = {
  island: 'M8 1.5 14.5 8 8 14.5 1.5 8Z',
  overhang: 'M8 2.8a5.2 5.2 0 1 1 0 10.4A5.2 5.2 0 1 1 8 2.8Z',
  added: 'M3.2 3.2h9.6v9.6H3.2Z',
};

/** The mark of a point as a small picture. */
export function markIcon(mark: Mark): SVGElement {
  const shape = drawing('path', { d: markShapes[mark], class: `mark-${mark}` });
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
