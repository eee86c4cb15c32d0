import { preferences, sides } from 'stiltforge-cli/part';
import { button, element } from '../../../viewer/page/dom.js';
import { counted } from '../../../viewer/page/words.js';
import type {
  OrientationFormat,
  OrientationWish,
  Progress,
  RankedTurn,
  Ranking,
} from '../../worker/protocol.js';
import type { Watcher } from '../analyst.js';
import { Notice } from '../notice.js';
import { type Choice, choice } from '../settings/choice.js';
import { stepText } from '../start_screen.js';
import { rankingTable } from './ranking_table.js';

export interface OrientationActions {
  search(wish: OrientationWish, watcher: Watcher): Promise<Ranking>;
  /** Turns the part; scale: of a part whose height was set. */
  take(turn: RankedTurn['turn'], scale: number | undefined): void;
  save(format: OrientationFormat, name: string, notice: Notice): Promise<void>;
  /** Of what a search failed by. */
  wordsOf(error: unknown): string;
}

const preferenceTexts: Record<string, string> = {
  'few-points': 'few supports',
  'little-overhang': 'little overhang',
  'few-islands': 'few islands',
  low: 'a low print',
  'no-cups': 'no cups',
  clean: 'a clean side',
};

/** Which way a part should stand: a search, and what it found. */
export class OrientationDialog {
  readonly element: HTMLDialogElement;
  private readonly prefer: Choice;
  private readonly keepClean: Choice;
  private readonly searchButton = button(
    'Search',
    'Try orientations of the part',
    () => void this.search(),
    { class: 'primary' },
  );
  private readonly found = element('div', { class: 'found' });
  private searching: AbortController | undefined;
  /** A name for all that the found orientations depend on. */
  subject = '';
  private readonly notice = new Notice();
  private turn: readonly number[] = [0, 0, 0];

  constructor(private readonly actions: OrientationActions) {
    this.prefer = choice('Prefer', [
      ['', 'a bit of all'],
      ...Object.keys(preferences).map((name): [string, string] => [name, preferenceTexts[name]]),
    ]);
    this.keepClean = choice('Side to keep clean', [
      ['', 'none'],
      ...Object.keys(sides).map((name): [string, string] => [name, name]),
    ]);
    this.element = element(
      'dialog',
      { class: 'help orientation', attributes: { 'aria-labelledby': 'orientation-title' } },
      element('h2', {
        text: 'Which way should it stand?',
        attributes: { id: 'orientation-title' },
      }),
      element('p', {
        class: 'caption',
        text: 'Tries some hundred orientations and ranks them by supports, overhang, islands, height and cups: a cost of 1 is about that of an average one. Choose one to turn the part.',
      }),
      element(
        'div',
        { class: 'wishes' },
        this.prefer.element,
        this.keepClean.element,
        this.searchButton,
      ),
      this.found,
      this.notice.element,
      element(
        'div',
        { class: 'tools' },
        button('Close', 'Close', () => this.element.close()),
      ),
    );
    this.element.addEventListener('close', () => this.searching?.abort());
  }

  /** `turn`: how the part stands now. */
  open(subject: string, turn: readonly number[]): void {
    if (subject !== this.subject) this.found.replaceChildren();
    this.notice.clear();
    this.subject = subject;
    this.turn = turn;
    this.markNow();
    this.element.showModal();
    this.searchButton.focus();
  }

  private async search(): Promise<void> {
    this.searching?.abort();
    const searching = new AbortController();
    const { signal } = searching;
    this.searching = searching;
    const bar = element('progress', { attributes: { max: '1', 'aria-label': 'Progress' } });
    const step = element('p', { class: 'step', text: 'Reading the file' });
    const cancel = button('Cancel', 'Cancel the search', () => searching.abort());
    this.found.replaceChildren(element('div', { class: 'searching' }, bar, step, cancel));
    cancel.focus();
    const tell = (progress: Progress): void => {
      if (progress.step === 'orientations') bar.value = progress.share;
      step.textContent = stepText(progress);
    };
    try {
      const ranking = await this.actions.search(this.wish(), { tell, signal });
      if (this.searching === searching) this.show(ranking);
    } catch (error) {
      if (this.searching !== searching) return;
      const sentence = this.actions.wordsOf(error);
      this.found.replaceChildren(
        signal.aborted
          ? element('p', { class: 'step', text: 'Cancelled', attributes: { role: 'status' } })
          : element('p', { class: 'fault', text: sentence, attributes: { role: 'alert' } }),
      );
      this.searchButton.focus();
    } finally {
      if (this.searching === searching) this.searching = undefined;
    }
  }

  private wish(): OrientationWish {
    const side = sides[this.keepClean.select.value];
    return { prefer: preferences[this.prefer.select.value], keepClean: side };
  }

  private show(ranking: Ranking): void {
    const files: readonly [OrientationFormat, string, string][] = [
      ['oriented', 'oriented.stl', 'The mesh as it stands best'],
      ['orientations', 'orientations.json', 'All that was found, for programs'],
    ];
    this.found.replaceChildren(
      element('p', {
        class: 'step',
        text: `${counted(ranking.tried, 'orientation')} tried`,
        attributes: { role: 'status' },
      }),
      rankingTable(ranking, ({ turn }) => {
        if (turn.join() === this.turn.join()) this.element.close();
        else this.actions.take(turn, ranking.scale);
      }),
      element(
        'div',
        { class: 'tools saving', attributes: { role: 'group', 'aria-label': 'Save' } },
        element('span', { class: 'caption', text: 'Save' }),
        ...files.map(([format, name, purpose]) =>
          button(name, purpose, () => void this.actions.save(format, name, this.notice)),
        ),
      ),
    );
    this.markNow();
    this.found.querySelector<HTMLElement>('tbody button')?.focus();
  }

  /** The row of the turn that the part has already. */
  private markNow(): void {
    for (const row of this.found.querySelectorAll<HTMLElement>('tbody tr')) {
      const isNow = row.dataset.turn === this.turn.join();
      row.classList.toggle('now', isNow);
      const take = row.querySelector('button');
      if (take !== null) take.textContent = isNow ? 'Stands so' : 'Turn so';
    }
  }
}
