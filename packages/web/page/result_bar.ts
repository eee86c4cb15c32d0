import { formatFiles, mergedFile, reportName } from 'stiltforge-cli/part';
import { button, element } from '../../viewer/page/dom.js';
import type { FileFormat } from '../worker/protocol.js';

interface SavedFile {
  format: FileFormat;
  name: string;
  purpose: string;
  /** It is made of a mesh, which a print has not. */
  needsMesh?: boolean;
}

const files: readonly SavedFile[] = [
  { format: 'csv', name: formatFiles.csv, purpose: 'The points as a table' },
  {
    ...{ format: 'json', name: formatFiles.json },
    purpose: 'The points and all that is known of them, for programs',
  },
  {
    ...{ format: '3mf', name: formatFiles['3mf'], needsMesh: true },
    purpose: 'A project from which PrusaSlicer builds the supports',
  },
  {
    ...{ format: 'stl', name: formatFiles.stl, needsMesh: true },
    purpose: 'The supports as geometry, to be printed with the part',
  },
  {
    ...{ format: 'merged', name: mergedFile, needsMesh: true },
    purpose: 'The part with its supports as geometry',
  },
  { format: 'report', name: reportName, purpose: 'This view in a file of its own' },
];

export interface BarActions {
  choose(): void;
  openSettings(): void;
  openOrientation(): void;
  save(format: FileFormat, name: string): Promise<void>;
}

/** The line above a part: on to another one, its settings, its files. */
export function resultBar(
  kind: 'mesh' | 'plate' | 'print',
  { choose, openSettings, openOrientation, save }: BarActions,
): HTMLElement {
  const given = files.filter(({ needsMesh }) => kind !== 'print' || !needsMesh);
  const saving = given.map(({ format, name, purpose }) => {
    const made = button(name, purpose, () => {
      // It keeps the focus, which a button that is disabled loses.
      if (made.ariaDisabled === 'true') return;
      made.ariaDisabled = 'true';
      void save(format, name).finally(() => {
        made.ariaDisabled = null;
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
      kind === 'mesh' &&
        button('Orientation', 'Find which way the part should stand', openOrientation),
    ),
    element(
      'div',
      { class: 'tools saving', attributes: { role: 'group', 'aria-label': 'Save' } },
      element('span', { class: 'caption', text: 'Save' }),
      ...saving,
    ),
  );
}
