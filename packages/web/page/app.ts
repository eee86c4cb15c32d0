import type { PackedPart } from 'stiltforge-viewer';
import { button, element } from '../../viewer/page/dom.js';
import { themeIcon } from '../../viewer/page/panels/head.js';
import type { ThemeChoice } from '../../viewer/page/theme.js';
import { mountViewer } from '../../viewer/page/viewer.js';
import { counted } from '../../viewer/page/words.js';
import type {
  OrientationWish,
  PartFile,
  PartSettings,
  RankedTurn,
  Ranking,
} from '../worker/protocol.js';
import { Analyst, Failure, type Watcher } from './analyst.js';
import { Notice } from './notice.js';
import { OrientationDialog } from './orientation/orientation_dialog.js';
import { bytesOf, filesOf, nameOf } from './part_file.js';
import { type PlainWords, plainWords } from './plain_words.js';
import { resultBar } from './result_bar.js';
import { saveFile } from './save_file.js';
import { SettingsForm } from './settings/settings_form.js';
import { PartPanel } from './start_screen.js';

const title = document.title;

const noTurn = [0, 0, 0] as const;

/** The page: a part and settings go in, what the analysis found comes out. */
export class App {
  private readonly analyst = new Analyst();
  private readonly form = new SettingsForm(() => void this.checkSettings());
  private readonly panel: PartPanel;
  private readonly chooser = element('input', {
    attributes: {
      ...{ type: 'file', multiple: '', hidden: '', 'aria-label': 'Part' },
      accept: '.stl,.obj,.ply,.3mf,.sl1,.sl1s,.goo,.nanodlp,.zip',
    },
  });
  private readonly status = element('p', { class: 'unseen', attributes: { role: 'status' } });
  private readonly start: HTMLElement;
  private readonly formPlace = element('div', { class: 'form-place' });
  private readonly dialog: HTMLDialogElement;
  private readonly orientation: OrientationDialog;
  private readonly dialogPlace = element('div', { class: 'form-place' });
  /** What is shown of the part that was analysed last. */
  private result: { element: HTMLElement; unmount: () => void } | undefined;
  /** Several are one plate. */
  private files: readonly File[] = [];
  /** Counts the choices of files. */
  private choiceNumber = 0;
  private working: AbortController | undefined;

  constructor(
    private readonly root: HTMLElement,
    private readonly theme: ThemeChoice,
  ) {
    const choose = (): void => this.chooser.click();
    const again = (): void => this.analyseAgain();
    this.panel = new PartPanel({ choose, again, cancel: () => this.working?.abort() });
    this.dialog = this.settingsDialog(again);
    this.orientation = new OrientationDialog({
      search: (wish, watcher) => this.searchOrientation(wish, watcher),
      take: (turn, scale) => this.turnPart(turn, scale),
      save: (format, name, notice) =>
        this.save(name, notice, () => this.analyst.saveOriented(format)),
      wordsOf,
    });
    this.start = this.startScreen();
    root.append(this.start, this.dialog, this.orientation.element, this.chooser, this.status);
    this.formPlace.append(this.form.element);
    this.chooser.addEventListener('change', () => {
      if (this.chooser.files?.length) this.take(this.chooser.files);
      // The same file may be chosen once more.
      this.chooser.value = '';
    });
    this.listenToDrops();
    addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.working?.abort();
    });
  }

  private startScreen(): HTMLElement {
    return element(
      'div',
      { class: 'start' },
      element(
        'header',
        { class: 'top' },
        element(
          'div',
          {},
          element('h1', { text: 'stiltforge' }),
          element('p', {
            class: 'caption',
            text: 'Finds where a part needs supports when it is printed in resin',
          }),
        ),
        element(
          'div',
          { class: 'tools' },
          button(themeIcon(), 'Light or dark', () => this.theme.toggle()),
        ),
      ),
      element(
        'main',
        { class: 'desk' },
        this.panel.element,
        element(
          'section',
          { class: 'panel', attributes: { 'aria-label': 'Settings' } },
          element('header', {}, element('h2', { text: 'Settings' })),
          this.formPlace,
        ),
      ),
    );
  }

  private settingsDialog(again: () => void): HTMLDialogElement {
    const dialog = element(
      'dialog',
      { class: 'help settings-dialog', attributes: { 'aria-label': 'Settings' } },
      element('h2', { text: 'Settings' }),
      this.dialogPlace,
      element(
        'div',
        { class: 'tools' },
        button('Analyse again', 'Analyse the same part with these settings', again, {
          class: 'primary',
        }),
        button('Close', 'Close', () => dialog.close()),
      ),
    );
    dialog.addEventListener('close', () => this.formPlace.append(this.form.element));
    return dialog;
  }

  private listenToDrops(): void {
    const { root } = this;
    addEventListener('dragover', (event) => {
      event.preventDefault();
      root.classList.add('dragging');
    });
    addEventListener('dragleave', (event) => {
      if (event.relatedTarget === null) root.classList.remove('dragging');
    });
    addEventListener('drop', (event) => {
      event.preventDefault();
      root.classList.remove('dragging');
      this.take(event.dataTransfer?.files);
    });
  }

  private take(files: FileList | null | undefined): void {
    this.files = [];
    this.choiceNumber++;
    try {
      this.files = filesOf(files);
    } catch (error) {
      this.working?.abort();
      this.rest();
      this.showStart();
      this.tellFailure(error);
      return;
    }
    void this.analyse(this.files);
  }

  private analyseAgain(): void {
    if (this.files.length > 0) void this.analyse(this.files);
  }

  private async analyse(files: readonly File[]): Promise<void> {
    const name = nameOf(files);
    const settings = this.form.read();
    if (settings === undefined) {
      this.refuseSettings();
      return;
    }
    this.working?.abort();
    const working = new AbortController();
    const { signal } = working;
    this.working = working;
    this.showStart();
    this.form.forget();
    this.panel.work(name).focus();
    this.status.textContent = `Analysing ${name}`;
    let packed: PackedPart;
    try {
      const parts: PartFile[] = [];
      for (const file of files) parts.push({ name: file.name, bytes: await bytesOf(file) });
      packed = await this.analyst.analyse(parts, settings, {
        tell: (progress) => this.panel.tell(progress),
        signal,
      });
    } catch (error) {
      // Another part is under way.
      if (this.working !== working) return;
      this.rest();
      if (signal.aborted) this.tellCancelled(name);
      else this.tellFailure(error);
      return;
    }
    this.rest();
    this.showResult(packed);
  }

  /** Nothing is under way any more. */
  private rest(): void {
    this.working = undefined;
    this.form.element.inert = false;
  }

  /** A setting is wrong, which is told beside it. */
  private refuseSettings(): void {
    if (!this.dialog.open) {
      this.showStart();
      this.panel.fail('A setting is wrong: see there.', undefined, this.files.length > 0);
    }
    this.form.focusWrong();
  }

  private tellCancelled(name: string): void {
    this.panel.cancelled(name);
    this.status.textContent = 'Cancelled';
    this.start.querySelector<HTMLElement>('.part button')?.focus();
  }

  private tellFailure(error: unknown): void {
    const canRepeat = this.files.length > 0;
    if (!(error instanceof Failure)) {
      this.panel.fail('Something unexpected failed; please report it.', String(error), canRepeat);
    } else if (error.isMendable) {
      const words = plainWords(error.message);
      this.panel.fail(words.sentence, undefined, canRepeat);
      this.tellAtSetting(words);
    } else {
      this.panel.fail('Something unexpected failed; please report it.', error.message, canRepeat);
    }
  }

  private tellAtSetting({ option, sentence }: PlainWords): void {
    if (option !== undefined) this.form.tell(option, sentence);
  }

  /** What the ranges of the analysis say of the settings, as soon as one has changed. */
  private async checkSettings(): Promise<void> {
    const settings = this.form.read();
    if (settings === undefined || this.working !== undefined) return;
    try {
      await this.analyst.check(settings);
    } catch (error) {
      if (error instanceof Failure && error.isMendable) {
        this.tellAtSetting(plainWords(error.message));
      }
    }
  }

  private showStart(): void {
    this.dialog.close();
    this.orientation.element.close();
    this.result?.unmount();
    this.result?.element.remove();
    this.result = undefined;
    this.start.hidden = false;
    this.formPlace.append(this.form.element);
    this.form.element.inert = this.working !== undefined;
    document.title = title;
  }

  private showResult(packed: PackedPart): void {
    this.start.hidden = true;
    this.panel.invite();
    const { model, supports } = packed.document.part;
    const viewer = element('div', { attributes: { id: 'viewer' } });
    const notice = new Notice();
    const kind = model.mesh === undefined ? 'print' : model.plate ? 'plate' : 'mesh';
    const bar = resultBar(kind, {
      choose: () => this.chooser.click(),
      openSettings: () => this.openSettings(),
      openOrientation: () => this.openOrientation(),
      save: (format, name) => this.save(name, notice, () => this.analyst.save(format)),
    });
    if (kind === 'mesh') this.proposeOrientation(packed, notice);
    const shown = element('div', { class: 'result' }, bar, notice.element, viewer);
    this.root.prepend(shown);
    this.result = { element: shown, unmount: mountViewer(viewer, packed, this.theme) };
    document.title = `${model.file}: supports`;
    this.status.textContent = `${model.file}: ${counted(supports.length, 'support point')}`;
  }

  /** A part that does not hold as it stands may hold in another way. */
  private proposeOrientation({ document }: PackedPart, notice: Notice): void {
    const unheld = (document.part.verdict?.islands ?? []).filter(({ pixels }) => pixels > 1).length;
    const withoutWay = document.scaffold?.withoutWay.length ?? 0;
    const faults = [
      ...(unheld > 0 ? [counted(unheld, 'island stays unheld', 'islands stay unheld')] : []),
      ...(withoutWay > 0
        ? [
            counted(
              withoutWay,
              'point finds no way for a pillar',
              'points find no way for a pillar',
            ),
          ]
        : []),
    ];
    if (faults.length === 0) return;
    const open = (): void => this.openOrientation();
    notice.tell(
      unheld > 0 ? 'fault' : 'warning',
      [`As the part stands, ${faults.join(' and ')}.`],
      button('Try another orientation', 'Find which way the part should stand', open),
    );
  }

  private openSettings(): void {
    this.dialogPlace.append(this.form.element);
    this.dialog.showModal();
  }

  private openOrientation(): void {
    const settings = this.form.read();
    if (settings === undefined) {
      this.openSettings();
      this.form.focusWrong();
      return;
    }
    this.orientation.open(this.orientationSubject(settings), settings.placement.rotate ?? noTurn);
  }

  /** A name for what orientations depend on: how the part is turned is none of it, but its size is. */
  private orientationSubject({ placement, print, support }: PartSettings): string {
    const { rotate, ...rest } = placement;
    const turn = rest.height === undefined ? undefined : rotate;
    return JSON.stringify({ choice: this.choiceNumber, rest, turn, print, support });
  }

  private async searchOrientation(wish: OrientationWish, watcher: Watcher): Promise<Ranking> {
    const [file] = this.files;
    const settings = this.form.read();
    if (file === undefined || settings === undefined) throw new Error('there is no part');
    const bytes = await bytesOf(file);
    return this.analyst.orient({ name: file.name, bytes }, settings, wish, watcher);
  }

  private turnPart(turn: RankedTurn['turn'], scale: number | undefined): void {
    this.form.turn(turn, scale);
    const settings = this.form.read();
    if (settings !== undefined) this.orientation.subject = this.orientationSubject(settings);
    this.analyseAgain();
  }

  /** Hands the file that `make` gives to the browser; what is to be said of it goes to `notice`. */
  private async save(
    name: string,
    notice: Notice,
    make: () => Promise<{ file: Blob; warnings: readonly string[] }>,
  ): Promise<void> {
    notice.clear();
    this.status.textContent = `Preparing ${name}`;
    try {
      const { file, warnings } = await make();
      const part = this.files.length > 1 ? 'plate' : this.files[0].name.replace(/\.[^.]*$/, '');
      saveFile(file, `${part}-${name}`);
      this.status.textContent = `${name} is saved`;
      const sentences = warnings.map((warning) => plainWords(warning).sentence);
      if (sentences.length > 0) notice.tell('warning', sentences);
    } catch (error) {
      this.status.textContent = '';
      notice.tell('fault', [`${name} could not be made. ${wordsOf(error)}`]);
    }
  }
}

/** Of what failed, for a person. */
function wordsOf(error: unknown): string {
  return error instanceof Failure ? plainWords(error.message).sentence : String(error);
}
