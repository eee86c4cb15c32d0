import { type Palette, palettes } from './palette.js';

type Theme = keyof typeof palettes;

/** Light or dark: as the system has it until somebody chooses. */
export class ThemeChoice {
  private chosen: Theme | null = null;
  private readonly system = matchMedia('(prefers-color-scheme: dark)');
  private listeners: ((palette: Palette) => void)[] = [];

  constructor(private readonly root: HTMLElement) {
    this.system.addEventListener('change', () => this.apply());
    this.apply();
  }

  get theme(): Theme {
    return this.chosen ?? (this.system.matches ? 'dark' : 'light');
  }

  get palette(): Palette {
    return palettes[this.theme];
  }

  listen(listener: (palette: Palette) => void): void {
    this.listeners.push(listener);
  }

  /** Those that listen are gone. */
  forgetListeners(): void {
    this.listeners = [];
  }

  toggle(): void {
    this.chosen = this.theme === 'dark' ? 'light' : 'dark';
    this.apply();
  }

  private apply(): void {
    this.root.dataset.theme = this.theme;
    for (const listener of this.listeners) listener(this.palette);
  }
}
