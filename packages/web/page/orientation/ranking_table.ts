import { button, element } from '../../../viewer/page/dom.js';
import type { RankedTurn, Ranking } from '../../worker/protocol.js';

/** Orientations with their figures and what is gained over the part as it is; `take` is called for one. */
export function rankingTable(
  { columns, rows }: Ranking,
  take: (row: RankedTurn) => void,
): HTMLElement {
  const titles = columns.map(titleText);
  const head = ['Rank', 'Turn about x, y, z', ...titles];
  return element(
    'table',
    { class: 'ranking' },
    element('caption', { class: 'unseen', text: 'Orientations, the best first' }),
    element(
      'thead',
      {},
      element(
        'tr',
        {},
        ...head.map((text) => element('th', { text, attributes: { scope: 'col' } })),
        element('td'),
      ),
    ),
    element('tbody', {}, ...rows.map((row) => rowOf(row, titles, take))),
  );
}

function rowOf(
  row: RankedTurn,
  titles: readonly string[],
  take: (row: RankedTurn) => void,
): HTMLElement {
  const { rank, origin, turn, figures } = row;
  const name = rank === undefined ? 'As it is' : String(rank);
  const turnText = turn.map((degrees) => `${Number(degrees.toFixed(1))}°`).join(', ');
  return element(
    'tr',
    { attributes: { 'data-turn': turn.join() } },
    element('th', { text: name, attributes: { scope: 'row' } }),
    element(
      'td',
      { class: 'turn' },
      element('span', { text: turnText }),
      rank !== undefined && element('span', { class: 'caption', text: origin }),
    ),
    ...figures.map(({ text, gain }, column) =>
      element(
        'td',
        { class: 'number', attributes: { 'data-title': titles[column] } },
        element('span', { text }),
        gain !== '' && element('span', { class: `gain ${isLess(gain) ? 'less' : ''}`, text: gain }),
      ),
    ),
    element(
      'td',
      {},
      button('Turn so', `Turn the part by ${turnText}`, () => take(row)),
    ),
  );
}

/** Less is better in all of them. */
function isLess(gain: string): boolean {
  return gain.startsWith('-') && gain !== '-0 %';
}

function titleText(column: string): string {
  const [first, ...rest] = column.replace(/mm2$/, 'mm²').replace(/mm3$/, 'mm³');
  return `${first.toUpperCase()}${rest.join('')}`;
}
