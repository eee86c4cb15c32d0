import { bringIntoList, element } from '../dom.js';
import type { Finding, Place } from '../finding.js';
import type { ViewModel } from '../view_state.js';
import { weightIcon } from './mark_icon.js';

/** Places of a finding that are shown; more would bury the other findings. */
const mostPlaces = 12;

/** The findings; a press on a place goes there. */
export function findingsList(
  findings: readonly Finding[],
  model: ViewModel,
  goTo: (finding: Finding, place: Place) => void,
): HTMLElement {
  if (findings.length === 0) {
    return element('p', { class: 'empty', text: 'Nothing to report.' });
  }
  const buttons = new Map<Place, HTMLElement>();
  const placeButton = (finding: Finding, place: Place): HTMLElement => {
    const made = element('button', {
      class: 'where',
      text: `layer ${place.layer}`,
      attributes: { type: 'button' },
      on: { click: () => goTo(finding, place) },
    });
    buttons.set(place, made);
    return made;
  };
  const rows = findings.map((finding) => {
    const { weight, title, detail, places } = finding;
    const shown = places.slice(0, mostPlaces);
    const rest = places.length - shown.length;
    const row = element(
      'div',
      { class: 'entry' },
      weightIcon(weight),
      element(
        'div',
        { class: 'text' },
        element('strong', { text: title }),
        element('span', { text: detail }),
        places.length > 0 &&
          element(
            'div',
            { class: 'places' },
            ...shown.map((place) => placeButton(finding, place)),
            rest > 0 && element('span', { text: `and ${rest} more` }),
          ),
      ),
    );
    // The whole entry is a target for the pointer; keys have the places.
    row.addEventListener('click', (event) => {
      if (places.length > 0 && !(event.target instanceof HTMLButtonElement)) {
        goTo(finding, places[0]);
      }
    });
    if (places.length > 0) row.classList.add('leads');
    return { finding, row };
  });
  model.listen((state) => {
    for (const { finding, row } of rows) {
      const isChosen = finding === state.finding;
      row.classList.toggle('chosen', isChosen);
      if (isChosen) bringIntoList(row);
    }
    for (const [place, made] of buttons) {
      if (place === state.place) made.setAttribute('aria-current', 'true');
      else made.removeAttribute('aria-current');
    }
  });
  return element(
    'ul',
    { class: 'entries findings' },
    ...rows.map(({ row }) => element('li', {}, row)),
  );
}
