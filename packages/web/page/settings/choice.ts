import { element } from '../../../viewer/page/dom.js';

/** A field of which one of several is chosen. */
export interface Choice {
  element: HTMLElement;
  select: HTMLSelectElement;
}

/** `options`: the value of each and what it is called. */
export function choice(label: string, options: [value: string, text: string][]): Choice {
  const id = `setting-${label.toLowerCase().replace(/\W+/g, '-')}`;
  const select = element(
    'select',
    { attributes: { id } },
    ...options.map(([value, text]) => element('option', { text, attributes: { value } })),
  );
  const field = element(
    'div',
    { class: 'field' },
    element('label', { text: label, attributes: { for: id } }),
    select,
  );
  return { element: field, select };
}
