import { type PartOptions, resins, screens, units } from 'stiltforge-cli/part';
import { element } from '../../../viewer/page/dom.js';
import type { PartSettings } from '../../worker/protocol.js';
import { choice } from './choice.js';
import { type FieldName, fields } from './fields.js';
import { NumberInput } from './number_input.js';

const own = 'own';

/** Of a scale that follows from a height: more than a print can tell. */
const scaleDigits = 7;

/** The settings, as a person types them. */
export class SettingsForm {
  readonly element: HTMLFormElement;
  private readonly numbers = Object.fromEntries(
    Object.entries(fields).map(([name, field]) => [name, new NumberInput(field)]),
  ) as Record<FieldName, NumberInput>;
  private readonly units = choice('Units', [
    ['', 'as the file says'],
    ...Object.keys(units).map((unit): [string, string] => [unit, unit]),
  ]);
  private readonly up = choice('Up in the file', [
    ['z', 'z axis'],
    ['y', 'y axis'],
  ]);
  private readonly screen = choice('Screen', [
    ...screens.map(({ name, settings }): [string, string] => [name, screenText(settings)]),
    [own, 'another'],
  ]);
  private readonly resin = choice('Resin', [
    ...resins.map(({ name }): [string, string] => [name, name]),
    [own, 'own values'],
  ]);
  private readonly center = element('input', {
    attributes: { type: 'checkbox', id: 'setting-center' },
  });
  private readonly otherScreen: HTMLElement;

  /** `changed`: called when a person has set something. */
  constructor(changed: () => void) {
    const { numbers } = this;
    const part = (...names: FieldName[]): HTMLElement[] =>
      names.map((name) => numbers[name].element);
    this.otherScreen = element('div', { class: 'fields' }, ...part('screenWidth', 'screenHeight'));
    this.element = element(
      'form',
      { class: 'settings-form', attributes: { novalidate: '' } },
      group(
        'Part',
        element('div', { class: 'fields' }, ...part('height', 'scale')),
        element('div', { class: 'fields three' }, ...part('turnX', 'turnY', 'turnZ')),
        more(
          'Units, axis, place, copies',
          element(
            'div',
            { class: 'fields' },
            this.units.element,
            this.up.element,
            ...part('lift'),
            element(
              'div',
              { class: 'field check' },
              this.center,
              element('label', {
                text: 'Move to the origin',
                attributes: { for: 'setting-center' },
              }),
            ),
            ...part('copies', 'gap'),
          ),
        ),
      ),
      group(
        'Printer',
        this.screen.element,
        this.otherScreen,
        element('div', { class: 'fields' }, ...part('pixelSize', 'layerHeight')),
      ),
      group(
        'Supports',
        element('div', { class: 'fields' }, this.resin.element, ...part('criticalAngle')),
        more(
          'Area, room, spacing',
          element(
            'div',
            { class: 'fields' },
            ...part('supportArea', 'inset', 'minimumHeight', 'minimumSpacing'),
          ),
        ),
        more(
          'Tips, pillars, raft of the STL',
          element(
            'div',
            { class: 'fields' },
            ...part('tipDiameter', 'tipLength', 'pillarDiameter'),
            ...part('raft', 'footDiameter', 'footHeight', 'braceDiameter', 'braceReach'),
          ),
        ),
      ),
    );
    this.screen.select.addEventListener('change', () => this.takeScreen());
    this.resin.select.addEventListener('change', () => this.takeResin());
    numbers.pixelSize.input.addEventListener('input', () => this.leaveScreen());
    for (const name of ['criticalAngle', 'supportArea'] as const) {
      numbers[name].input.addEventListener('input', () => this.findResin());
    }
    this.screen.select.value =
      screens.find(
        ({ settings }) =>
          settings.pixelSize === fields.pixelSize.value &&
          settings.screenWidth === fields.screenWidth.value &&
          settings.screenHeight === fields.screenHeight.value,
      )?.name ?? own;
    this.takeScreen();
    this.findResin();
    this.element.addEventListener('change', changed);
    this.element.addEventListener('submit', (event) => event.preventDefault());
  }

  /** Undefined when something is wrong, which is told beside it then. */
  read(): PartSettings | undefined {
    const value = Object.fromEntries(
      Object.entries(this.numbers).map(([name, number]) => [name, number.read()]),
    ) as Record<FieldName, number | undefined>;
    if (value.height !== undefined && value.scale !== undefined) {
      this.numbers.scale.tell('The height decides the scale: leave one of them empty.');
      return undefined;
    }
    if (Object.values(value).some(Number.isNaN)) return undefined;
    const { height, scale, lift, turnX = 0, turnY = 0, turnZ = 0 } = value;
    const isTurned = [turnX, turnY, turnZ].some((degrees) => degrees !== 0);
    // All but those of the part have a value.
    const given = value as Record<FieldName, number>;
    return {
      placement: {
        units: (this.units.select.value || undefined) as PartOptions['units'],
        up: this.up.select.value as PartOptions['up'],
        rotate: isTurned ? [turnX, turnY, turnZ] : undefined,
        ...{ height, scale, center: this.center.checked || undefined },
      },
      plate: { copies: given.copies, gap: given.gap },
      print: {
        layerHeight: given.layerHeight,
        pixelSize: given.pixelSize,
        screenWidth: given.screenWidth,
        screenHeight: given.screenHeight,
        ...(lift === undefined ? {} : { lift }),
      },
      support: {
        criticalAngle: given.criticalAngle,
        inset: given.inset,
        supportArea: given.supportArea,
        minimumHeight: given.minimumHeight,
        minimumSpacing: value.minimumSpacing,
      },
      scaffold: {
        tipDiameter: given.tipDiameter,
        tipLength: given.tipLength,
        pillarDiameter: given.pillarDiameter,
        footDiameter: given.footDiameter,
        footHeight: given.footHeight,
        braceDiameter: given.braceDiameter,
        braceReach: given.braceReach,
        raftThickness: value.raft ?? 0,
      },
    };
  }

  /** Turns the part; its height stands in the way where it has a scale instead. */
  turn(turn: readonly [x: number, y: number, z: number], scale: number | undefined): void {
    const { turnX, turnY, turnZ, height, scale: scaling } = this.numbers;
    [turnX, turnY, turnZ].forEach((number, axis) => {
      number.set(turn[axis] === 0 ? undefined : turn[axis]);
    });
    if (scale === undefined) return;
    height.set(undefined);
    scaling.set(Number(scale.toPrecision(scaleDigits)));
  }

  /** Says beside the setting that the command gives by `option` what is wrong with it. */
  tell(option: string, sentence: string): void {
    const input = Object.values(this.numbers).find(({ field }) => field.option === option);
    if (input === undefined) return;
    input.tell(sentence);
    this.open(input);
  }

  /** Takes back all that was told. */
  forget(): void {
    for (const number of Object.values(this.numbers)) number.tell('');
  }

  /** Moves to the first setting that is wrong, if there is one. */
  focusWrong(): void {
    const wrong = Object.values(this.numbers).find(({ input }) =>
      input.hasAttribute('aria-invalid'),
    );
    if (wrong === undefined) return;
    this.open(wrong);
    wrong.input.focus();
  }

  private open({ element: place }: NumberInput): void {
    const folded = place.closest('details');
    if (folded !== null) folded.open = true;
    if (place.parentElement === this.otherScreen) this.leaveScreen();
  }

  /** None of those that are known. */
  private leaveScreen(): void {
    this.screen.select.value = own;
    this.takeScreen();
  }

  private takeScreen(): void {
    const chosen = screens.find(({ name }) => name === this.screen.select.value);
    this.otherScreen.hidden = chosen !== undefined;
    if (chosen === undefined) return;
    const { pixelSize, screenWidth, screenHeight } = chosen.settings;
    this.numbers.pixelSize.set(pixelSize);
    this.numbers.screenWidth.set(screenWidth);
    this.numbers.screenHeight.set(screenHeight);
  }

  private takeResin(): void {
    const chosen = resins.find(({ name }) => name === this.resin.select.value);
    if (chosen === undefined) return;
    this.numbers.supportArea.set(chosen.settings.supportArea);
    this.numbers.criticalAngle.set(chosen.settings.criticalAngle);
  }

  /** The resin whose values stand in the fields. */
  private findResin(): void {
    const { criticalAngle, supportArea } = this.numbers;
    const found = resins.find(
      ({ settings }) =>
        String(settings.criticalAngle) === criticalAngle.input.value.trim() &&
        String(settings.supportArea) === supportArea.input.value.trim(),
    );
    this.resin.select.value = found?.name ?? own;
  }
}

function screenText(screen: { pixelSize: number; screenWidth: number; screenHeight: number }) {
  const { pixelSize, screenWidth, screenHeight } = screen;
  const size = [screenWidth, screenHeight].map((pixels) => Math.round(pixels * pixelSize));
  return `${size.join(' × ')} mm, ${screenWidth} × ${screenHeight}`;
}

function group(name: string, ...children: HTMLElement[]): HTMLElement {
  return element('fieldset', {}, element('legend', { text: name }), ...children);
}

function more(name: string, ...children: HTMLElement[]): HTMLElement {
  return element('details', {}, element('summary', { text: name }), ...children);
}
