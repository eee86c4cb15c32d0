import { formatFiles, reportName } from 'stiltforge-cli/part';
import { button, element } from '../../viewer/page/dom.js';
import type { FileFormat } from '../worker/protocol.js';

/** What each file is called, and what it is for. */
const files: readonly [format: FileFormat, name: string, purpose: string][] = [
  ['csv', formatFiles.csv, 'The points as a table'],
  ['json', formatFiles.json, 'The points and all that is known of them, for programs'],
  ['3mf', formatFiles['3mf'], 'A project from which PrusaSlicer builds the supports'],
  ['report', reportName, 'This view in a file of its own'],
];

export interface BarActions {
  choose(): void;
  openSettings(): void;
  save(format: FileFormat, name: string): Promise<void>;
}

/**
 * The line above a part: on to another one, its settings, its files. `hasMesh`: it was read as a mesh, not
 * as the layers of a print.
 */
export function resultBar(
  hasMesh: boolean,
  { choose, openSettings, save }: BarActions,
): HTMLElement {
  const given = files.filter(([format]) => hasMesh || format !== '3mf');
  const saving = given.map(([format, name, purpose]) => {
    const made = button(name, purpose, () => {
      made.disabled = true;
      void save(format, name).finally(() => {
        made.disabled = false;
      });
    });
    return made;
  });
  return element(
    'nav',
    { class: 'bar', attributes: { 'aria-label': 'Part and files' } },
    element('strong', { class: 'brand', text: 'stiltforge' }),
    element(
      'div',
      { class: 'tools' },
      button('Another part', 'Choose another file, or drop one', choose),
      button('Settings', 'Change the settings and analyse it again', openSettings),
    ),
    element(
      'div',
      { class: 'tools saving', attributes: { role: 'group', 'aria-label': 'Save' } },
      element('span', { class: 'caption', text: 'Save' }),
      ...saving,
    ),
  );
}
