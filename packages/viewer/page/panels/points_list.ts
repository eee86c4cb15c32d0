import type { PointRecord } from '../../src/document.js';
import { bringIntoList, button, element } from '../dom.js';
import { markOf } from '../marks.js';
import type { ViewedPart } from '../part.js';
import type { ViewModel } from '../view_state.js';
import { counted, millimetres } from '../words.js';
import { markIcon } from './mark_icon.js';
import { whyOf } from './why.js';

/** Rows that are made at once; more come when asked for. */
const rowsAtOnce = 400;

/** Of a plate, to which of its meshes the point belongs. */
function partText({ document }: ViewedPart, point: PointRecord): string {
  const { plate } = document.part.model;
  if (plate === undefined || point.part === undefined) return '';
  const { file } = plate[point.part];
  const all = plate.flatMap((one, index) => (one.file === file ? [index] : []));
  const which = all.length === 1 ? '' : ` ${all.indexOf(point.part) + 1} of ${all.length}`;
  return `${file}${which}   `;
}

/** All points, bottom first, and why each is there; a press goes to the point. */
export function pointsList(
  part: ViewedPart,
  model: ViewModel,
  goTo: (point: number) => void,
): HTMLElement {
  const list = element('ul', { class: 'entries points' });
  const more = element('div', { class: 'more' });
  const count = element('p', { class: 'caption' });
  const filter = element('select', { attributes: { 'aria-label': 'Which points' } });
  for (const [value, text] of [
    ['all', 'All points'],
    ['island', 'Under islands'],
    ['overhang', 'Under overhangs'],
    ...(part.hasAddedPoints ? [['added', 'Added ones']] : []),
  ]) {
    filter.append(element('option', { text, attributes: { value } }));
  }
  const order = part.points
    .map((_, index) => index)
    .sort((a, b) => part.points[a].layer - part.points[b].layer || a - b);
  const rows = new Map<number, HTMLElement>();
  let wanted: number[] = [];

  const rowOf = (index: number): HTMLElement => {
    const point = part.points[index];
    const { title, detail } = whyOf(part, point);
    const row = element(
      'button',
      { class: 'entry', attributes: { type: 'button' }, on: { click: () => goTo(index) } },
      markIcon(markOf(point)),
      element(
        'span',
        { class: 'text' },
        element('strong', { text: title }),
        element('span', { text: detail }),
        element('span', {
          class: 'figures',
          text: `${partText(part, point)}x ${point.x.toFixed(2)}   y ${point.y.toFixed(2)}   z ${millimetres(point.z)}`,
        }),
      ),
      element('span', { class: 'where', text: `layer ${point.layer}` }),
    );
    rows.set(index, row);
    if (model.state.point === index) row.setAttribute('aria-current', 'true');
    return row;
  };
  const showMore = (): void => {
    const from = list.childElementCount;
    const next = wanted.slice(from, from + rowsAtOnce);
    list.append(...next.map((index) => element('li', {}, rowOf(index))));
    const rest = wanted.length - list.childElementCount;
    more.replaceChildren(
      ...(rest === 0
        ? []
        : [button(`Show more of ${counted(rest, 'point')}`, 'Show more', showMore)]),
    );
  };
  const refill = (): void => {
    wanted = order.filter(
      (index) =>
        filter.value === 'all' ||
        part.points[index].kind === filter.value ||
        markOf(part.points[index]) === filter.value,
    );
    count.textContent = counted(wanted.length, 'point');
    rows.clear();
    list.replaceChildren();
    showMore();
  };
  filter.addEventListener('change', refill);
  refill();

  model.listen(({ point }, before) => {
    if (point === before.point) return;
    for (const row of rows.values()) row.removeAttribute('aria-current');
    if (point === null) return;
    while (!rows.has(point) && list.childElementCount < wanted.length) showMore();
    const row = rows.get(point);
    row?.setAttribute('aria-current', 'true');
    // By then the list shows, if another tab did.
    requestAnimationFrame(() => row && bringIntoList(row));
  });
  return element('div', {}, element('div', { class: 'filter' }, filter, count), list, more);
}
