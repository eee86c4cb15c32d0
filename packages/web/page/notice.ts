import { button, element } from '../../viewer/page/dom.js';
import { weightIcon } from '../../viewer/page/panels/mark_icon.js';

/** A line for what went wrong, or not all right, with something that was asked for. */
export class Notice {
  readonly element = element('div', { class: 'notice', attributes: { role: 'status' } });

  constructor() {
    this.clear();
  }

  clear(): void {
    this.element.hidden = true;
    this.element.replaceChildren();
  }

  /** `remedy`: a button that mends it. */
  tell(
    weight: 'fault' | 'warning',
    sentences: readonly string[],
    remedy?: HTMLButtonElement,
  ): void {
    this.element.replaceChildren(
      weightIcon(weight),
      element('div', {}, ...sentences.map((text) => element('p', { text }))),
      element(
        'div',
        { class: 'tools' },
        remedy,
        button('Close', 'Close this notice', () => this.clear()),
      ),
    );
    this.element.hidden = false;
  }
}
