import { element } from '../dom.js';

export interface Tab {
  name: string;
  /** Shown behind the name. */
  count?: string;
  content: HTMLElement;
}

/** Panels of which one shows at a time; arrow keys go from tab to tab. */
export class Tabs {
  readonly panel: HTMLElement;
  private readonly buttons: HTMLButtonElement[];
  private readonly bodies: HTMLElement[];

  constructor(label: string, tabs: readonly Tab[]) {
    this.buttons = tabs.map(({ name, count }, i) =>
      element(
        'button',
        {
          attributes: {
            type: 'button',
            role: 'tab',
            id: `tab-${i}`,
            'aria-controls': `tab-body-${i}`,
          },
          on: { click: () => this.show(i), keydown: (event) => this.step(event, i) },
        },
        name,
        count !== undefined && element('span', { class: 'count', text: count }),
      ),
    );
    this.bodies = tabs.map(({ content }, i) =>
      element(
        'div',
        {
          class: 'tab-body',
          attributes: { role: 'tabpanel', id: `tab-body-${i}`, 'aria-labelledby': `tab-${i}` },
        },
        content,
      ),
    );
    this.panel = element(
      'section',
      { class: 'panel side', attributes: { 'aria-label': label } },
      element('div', { class: 'tabs', attributes: { role: 'tablist' } }, ...this.buttons),
      ...this.bodies,
    );
    this.show(0);
  }

  show(shown: number): void {
    this.buttons.forEach((tab, i) => {
      tab.setAttribute('aria-selected', String(i === shown));
      tab.tabIndex = i === shown ? 0 : -1;
    });
    this.bodies.forEach((body, i) => {
      body.hidden = i !== shown;
    });
  }

  private step(event: KeyboardEvent, from: number): void {
    const by = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    const next = (from + by + this.buttons.length) % this.buttons.length;
    this.show(next);
    this.buttons[next].focus();
  }
}
