import type { CheckRecord, VerdictRecord } from '../../src/document.js';
import { button, drawing, element } from '../dom.js';
import type { Weight } from '../finding.js';
import { markOf } from '../marks.js';
import type { ViewedPart } from '../part.js';
import { leavesGaps } from '../verdict_findings.js';
import { area, counted, countText, volume } from '../words.js';
import { markIcon, weightIcon } from './mark_icon.js';

/** The first line: which part it is, and the figures that people ask for. */
export function head(part: ViewedPart, toggleTheme: () => void, help: () => void): HTMLElement {
  const { model, generator, verdict, check, summary } = part.document.part;
  const isCheck = check?.counts !== undefined;
  const ofKind = (kind: string): number => part.points.filter((one) => one.kind === kind).length;
  const added = part.points.filter((one) => markOf(one) === 'added').length;
  const { layers, islands } = part.document;
  const overhang = layers.overhang.reduce((sum, value) => sum + value, 0);
  const points = [
    figure('Points', countText(part.points.length)),
    figure('under islands', countText(ofKind('island')), markIcon('island')),
    figure('under overhangs', countText(ofKind('overhang')), markIcon('overhang')),
  ];
  const figures = [
    // A print that is checked has its supports in its layers.
    ...(isCheck && part.points.length === 0 ? [] : points),
    ...(part.hasAddedPoints ? [figure('of them added', countText(added), markIcon('added'))] : []),
    figure('Islands', countText(summary?.islands ?? islands.length)),
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
      // Long ones are cut.
      element('h1', { text: model.file, title: model.file }),
      element('p', {
        class: 'caption',
        text: `${isCheck ? 'Check' : 'Support'} report · ${generator}`,
      }),
    ),
    verdict !== undefined && verdictMark(verdict),
    check?.counts !== undefined && checkMark(check.counts),
    element('ul', { class: 'figures' }, ...figures),
    element(
      'div',
      { class: 'tools head-tools' },
      button(themeIcon(), 'Light or dark (t)', toggleTheme),
      button('?', 'Keys and what the shapes mean (?)', help),
    ),
  );
}

/** What the check says, in a few words. */
function checkMark({ fails, risk }: Required<CheckRecord>['counts']): HTMLElement {
  if (fails > 0) {
    return mark('fault', 'Would fail', counted(fails, 'finding that fails', 'findings that fail'));
  }
  return risk > 0
    ? mark('warning', 'Holds, at some risk', counted(risk, 'finding at risk', 'findings at risk'))
    : mark('good', 'Holds', 'Nothing that would fail was found');
}

/** What the judge says, in a few words. */
function verdictMark(verdict: VerdictRecord): HTMLElement {
  const { islands, overhang } = verdict;
  const unheld = islands.filter(({ pixels }) => pixels > 1).length;
  const within =
    overhang.area === 0 ? 100 : (100 * (overhang.area - overhang.beyondNear)) / overhang.area;
  const [weight, told]: [Weight | 'good', string] =
    unheld > 0
      ? ['fault', counted(unheld, 'island unheld', 'islands unheld')]
      : leavesGaps(verdict)
        ? ['warning', 'Gaps between points']
        : ['good', islands.length > 0 ? 'All islands but specks held' : 'All islands are held'];
  return mark(weight, told, `${within.toFixed(1)} % of the overhang within reach`);
}

function mark(weight: Weight | 'good', told: string, more: string): HTMLElement {
  return element(
    'p',
    { class: `verdict ${weight}` },
    weight === 'good' ? goodIcon() : weightIcon(weight),
    element('span', {}, element('strong', { text: told }), element('span', { text: more })),
  );
}

function goodIcon(): SVGElement {
  return drawing(
    'svg',
    { viewBox: '0 0 16 16', class: 'icon', 'aria-hidden': 'true' },
    drawing('path', {
      d: 'M2.5 8.5 6.3 12.3 13.5 4',
      fill: 'none',
      stroke: 'currentColor',
      'stroke-width': 2.4,
    }),
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

export function themeIcon(): SVGElement {
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
