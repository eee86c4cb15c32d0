import type { Finding, Place } from './finding.js';

export interface ViewState {
  layer: number;
  /** Index of the point that is chosen. */
  point: number | null;
  finding: Finding | null;
  /** Which of its places. */
  place: Place | null;
  /** The part is cut open at the layer. */
  isCut: boolean;
  /** Surfaces that lie flatter than the critical angle are tinted. */
  isTinted: boolean;
  /** Supports stand as they are built. */
  hasSupports: boolean;
}

type Listener = (state: Readonly<ViewState>, before: Readonly<ViewState>) => void;

/** What is looked at. Who shows it listens; who changes it sets. */
export class ViewModel {
  private readonly listeners: Listener[] = [];

  constructor(
    private current: ViewState,
    private readonly layerCount: number,
  ) {}

  get state(): Readonly<ViewState> {
    return this.current;
  }

  listen(listener: Listener): void {
    this.listeners.push(listener);
  }

  set(change: Partial<ViewState>): void {
    const before = this.current;
    const next = { ...before, ...change };
    next.layer = Math.min(this.layerCount - 1, Math.max(0, Math.round(next.layer)));
    const keys = Object.keys(next) as (keyof ViewState)[];
    if (keys.every((key) => next[key] === before[key])) return;
    this.current = next;
    for (const listener of this.listeners) listener(next, before);
  }
}
