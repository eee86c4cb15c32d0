import { button, drawing, element } from '../../viewer/page/dom.js';
import { weightIcon } from '../../viewer/page/panels/mark_icon.js';
import { countText } from '../../viewer/page/words.js';
import type { Progress } from '../worker/protocol.js';

export interface StartActions {
  choose(): void;
  again(): void;
  cancel(): void;
}

/** How much of the time each step takes, about. */
const weights = { layers: 0.65, building: 0.1, packing: 0.2 } as const;
const before = { layers: 0.05, building: 0.7, packing: 0.8 } as const;

/** Where a part is dropped, and where it is told how far its analysis is or why there is none. */
export class PartPanel {
  readonly element = element('section', {
    class: 'panel part',
    attributes: { 'aria-label': 'Part' },
  });
  private readonly bar = element('progress', {
    attributes: { max: '1', 'aria-label': 'Progress' },
  });
  private readonly step = element('p', { class: 'step' });

  constructor(private readonly actions: StartActions) {
    this.invite();
  }

  /** No part yet. */
  invite(): void {
    const choose = button(
      'Choose a file',
      'Choose a mesh or a file for a printer',
      this.actions.choose,
      {
        class: 'primary',
      },
    );
    this.fill(
      'invite',
      partIcon(),
      element('h2', { text: 'Drop a part here' }),
      choose,
      element('p', {
        class: 'caption',
        text: 'A mesh: STL, OBJ, PLY, 3MF, or several for one plate; or a file for a printer: SL1, NanoDLP, GOO, PNG layers in a zip',
      }),
      element('p', {
        class: 'promise',
        text: 'It stays on this machine: the analysis runs in this page, which asks no one for anything.',
      }),
    );
  }

  /** At work on a part. */
  work(name: string): HTMLButtonElement {
    this.bar.removeAttribute('value');
    this.step.textContent = 'Reading the file';
    const cancel = button('Cancel', 'Cancel (Esc)', this.actions.cancel);
    this.fill('work', element('h2', { text: name }), this.bar, this.step, cancel);
    return cancel;
  }

  tell(progress: Progress): void {
    const { step, share } = progress;
    if (step === 'layers' || step === 'building' || step === 'packing') {
      this.bar.value = before[step] + weights[step] * share;
    }
    this.step.textContent = stepText(progress);
  }

  /** A part could not be analysed. `trace`: of a mistake of the program. */
  fail(sentence: string, trace: string | undefined, canRepeat: boolean): void {
    this.end([weightIcon('fault'), 'This gave no supports'], sentence, trace, canRepeat);
  }

  /** A person ended the analysis. */
  cancelled(name: string): void {
    this.end(['Cancelled'], `${name} was not analysed to its end.`, undefined, true);
  }

  private end(
    title: (Node | string)[],
    sentence: string,
    trace: string | undefined,
    canRepeat: boolean,
  ): void {
    const choose = button(
      'Choose a file',
      'Choose a mesh or a file for a printer',
      this.actions.choose,
      {
        class: 'primary',
      },
    );
    this.fill(
      'fail',
      element('h2', {}, ...title),
      element('p', { class: 'fault', text: sentence, attributes: { role: 'alert' } }),
      trace !== undefined && element('pre', { text: trace, attributes: { tabindex: '0' } }),
      element(
        'div',
        { class: 'tools' },
        choose,
        canRepeat &&
          button('Try again', 'The same file, with the settings beside', this.actions.again),
      ),
    );
  }

  private fill(state: string, ...children: (Node | false)[]): void {
    this.element.dataset.state = state;
    this.element.replaceChildren(...children.filter((child) => child !== false));
  }
}

/** What is under way, in words. */
export function stepText({ step, share, total }: Progress): string {
  const ofAll = `${countText(Math.round(share * total))} of ${countText(total)}`;
  return {
    reading: 'Reading the file',
    layers: `Layer ${ofAll}`,
    building: `Building the supports: ${Math.round(100 * share)} %`,
    packing: `Preparing the pictures: ${Math.round(100 * share)} %`,
    orientations: `Orientation ${ofAll}`,
  }[step];
}

/** A part on its supports. */
function partIcon(): SVGElement {
  const line = (d: string, name: string) => drawing('path', { d, class: name });
  return drawing(
    'svg',
    { viewBox: '0 0 120 96', class: 'part-icon', 'aria-hidden': 'true' },
    line('M8 90H112', 'plate'),
    line('M34 90V58M52 90V62M70 90V58M88 90V44', 'pillars'),
    line('M24 40 62 12 98 30 88 44 70 58 52 62 34 58Z', 'body'),
    line('M34 58 L62 12 L70 58', 'edges'),
    drawing('circle', { cx: 34, cy: 58, r: 4, class: 'overhang' }),
    drawing('circle', { cx: 70, cy: 58, r: 4, class: 'overhang' }),
    drawing('circle', { cx: 88, cy: 44, r: 4, class: 'overhang' }),
    drawing('path', { d: 'M52 57l5 5-5 5-5-5Z', class: 'island' }),
  );
}
