import { button, drawing, element } from '../dom.js';
import type { ViewedPart } from '../part.js';
import { area, countText, volume } from '../words.js';
import { markIcon } from './mark_icon.js';

/** The first line: which part it is, and the figures that people ask for. */
export function head(part: ViewedPart, toggleTheme: () => void, help: () => void): HTMLElement {
  const { model, generator } = part.document.part;
  const ofKind = (kind: string): number => part.points.filter((one) => one.kind === kind).length;
  const { layers, islands } = part.document;
  const overhang = layers.overhang.reduce((sum, value) => sum + value, 0);
  const figures = [
    figure('Points', countText(part.points.length)),
    figure('under islands', countText(ofKind('island')), markIcon('island')),
    figure('under overhangs', countText(ofKind('overhang')), markIcon('overhang')),
    figure('Islands', countText(islands.length)),
    figure('Overhang', area(overhang)),
    figure('Layers', countText(part.layerCount)),
    ...(model.sliceVolume === undefined ? [] : [figure('Material', volume(model.sliceVolume))]),
  ];
  return element(
    'header',
    { class: 'head' },
    element(
      'div',
      { class: 'name' },
      element('h1', { text: model.file }),
      element('p', { class: 'caption', text: `Support report · ${generator}` }),
    ),
    element('ul', { class: 'figures' }, ...figures),
    element(
      'div',
      { class: 'tools' },
      button(themeIcon(), 'Light or dark (t)', toggleTheme),
      button('?', 'Keys and what the shapes mean (?)', help),
    ),
  );
}

function figure(name: string, value: string, icon?: SVGElement): HTMLElement {
  return element(
    'li',
    {},
    element('strong', {}, icon ?? null, value),
    element('span', { text: name }),
  );
}

function themeIcon(): SVGElement {
  return drawing(
    'svg',
    { viewBox: '0 0 16 16', class: 'icon', 'aria-hidden': 'true' },
    drawing('circle', {
      cx: 8,
      cy: 8,
      r: 6,
      fill: 'none',
      stroke: 'currentColor',
      'stroke-width': 1.6,
    }),
    drawing('path', { d: 'M8 2a6 6 0 0 1 0 12Z', fill: 'currentColor' }),
  );
}
