import { signedNumberFrom } from 'stiltforge-cli/part';
import { element } from '../../../viewer/page/dom.js';
import type { NumberField } from './fields.js';

let made = 0;

/** A field for a number, with its label, its unit and room for what is wrong with it. */
export class NumberInput {
  readonly element: HTMLElement;
  readonly input: HTMLInputElement;
  private readonly told: HTMLElement;

  constructor(readonly field: NumberField) {
    const id = `setting-${made++}`;
    this.told = element('p', { class: 'wrong', attributes: { id: `${id}-wrong` } });
    this.input = element('input', {
      attributes: {
        ...{ id, type: 'text', inputmode: 'decimal', autocomplete: 'off', spellcheck: 'false' },
        ...{ placeholder: field.without ?? '', 'aria-describedby': `${id}-unit ${id}-wrong` },
      },
      on: { input: () => this.tell('') },
    });
    this.set(field.value);
    this.element = element(
      'div',
      { class: 'field' },
      element('label', { text: field.label, attributes: { for: id } }),
      element(
        'div',
        { class: 'input' },
        this.input,
        element('span', { class: 'unit', text: field.unit, attributes: { id: `${id}-unit` } }),
      ),
      this.told,
    );
  }

  set(value: number | undefined): void {
    this.input.value = value === undefined ? '' : String(value);
    this.tell('');
  }

  /** Undefined where nothing is given and nothing need be, NaN where it is wrong, which is told then. */
  read(): number | undefined {
    const text = this.input.value.trim();
    if (text === '' && this.field.value === undefined) return undefined;
    const value = signedNumberFrom(text);
    const { accepts, wanted } = this.field.rule;
    if (Number.isFinite(value) && accepts(value)) return value;
    this.tell(`It must be ${wanted}.`);
    return Number.NaN;
  }

  /** Says what is wrong; nothing when all is well. */
  tell(sentence: string): void {
    this.told.textContent = sentence;
    if (sentence === '') this.input.removeAttribute('aria-invalid');
    else this.input.setAttribute('aria-invalid', 'true');
  }
}
