import { button, element } from '../dom.js';
import { markIcon, weightIcon } from './mark_icon.js';

const keys: readonly [keys: string[], what: string][] = [
  [['←', '→'], 'one layer down, up'],
  [['Shift', '←', '→'], 'ten layers'],
  [['Home', 'End'], 'the first, the last layer'],
  [['n', 'p'], 'the next, the previous point'],
  [['f', 'Shift f'], 'the next, the previous finding'],
  [['c'], 'cut the part open or close it'],
  [['o'], 'tint surfaces that overhang'],
  [['s'], 'show the supports'],
  [['1', '–', '6'], 'look from the front left, front, right, back, above, below'],
  [['+', '-', '0'], 'zoom into the slice, out of it, show all of it'],
  [['t'], 'light or dark'],
  [['Esc'], 'choose nothing'],
];

/** Keys and shapes, over the page. */
export function helpDialog(): HTMLDialogElement {
  const key = (name: string): HTMLElement =>
    /^\p{Pd}$/u.test(name) && name !== '-'
      ? element('span', { text: name })
      : element('kbd', { text: name });
  const dialog = element(
    'dialog',
    { class: 'help', attributes: { 'aria-label': 'Help' } },
    element('h2', { text: 'Keys' }),
    element(
      'dl',
      { class: 'help-keys' },
      ...keys.map(([names, what]) =>
        element('div', {}, element('dt', {}, ...names.map(key)), element('dd', { text: what })),
      ),
    ),
    element('p', {
      class: 'help-text',
      text: 'With the picture of the part in focus, the arrows turn it. Drag, wheel and two fingers turn, move and zoom both pictures; a press on a point chooses it.',
    }),
    element('h2', { text: 'Shapes' }),
    element(
      'ul',
      { class: 'shapes' },
      element(
        'li',
        { class: 'shape' },
        markIcon('island'),
        'a point under an island: a region that rests on nothing',
      ),
      element('li', { class: 'shape' }, markIcon('overhang'), 'a point under an overhang'),
      element(
        'li',
        { class: 'shape' },
        markIcon('added'),
        'a point that closes a gap of the analysis',
      ),
      element(
        'li',
        { class: 'shape' },
        weightIcon('fault'),
        'a finding that may make the print fail',
      ),
      element(
        'li',
        { class: 'shape' },
        weightIcon('warning'),
        'a finding that somebody should look at',
      ),
      element('li', { class: 'shape' }, weightIcon('note'), 'good to know'),
    ),
    button('Close', 'Close', () => dialog.close(), { class: 'close' }),
  );
  // A press beside it closes it, too.
  dialog.addEventListener('click', (event) => {
    if (event.target === dialog) dialog.close();
  });
  return dialog;
}
