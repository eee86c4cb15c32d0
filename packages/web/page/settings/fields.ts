import { defaultScaffold } from 'stiltforge/scaffold';
import { defaultPrint, defaultSupport } from 'stiltforge/slicing';
import {
  copiesRule,
  distanceRule,
  type NumberRule,
  pixelsRule,
  positiveRule,
  slopeRule,
  turnRule,
  usualGap,
} from 'stiltforge-cli/part';

/** A setting that is a number. */
export interface NumberField {
  label: string;
  unit: string;
  rule: NumberRule;
  /** The option of the command, by which sentences of the analysis call it. */
  option: string;
  /** What it is at first; none where it need not be given. */
  value?: number;
  /** What it means when nothing is given. */
  without?: string;
}

/** `rest`: its value at first, or what it means without one. */
function field(
  option: string,
  label: string,
  unit: string,
  rule: NumberRule,
  rest: Pick<NumberField, 'value' | 'without'>,
): NumberField {
  return { option, label, unit, rule, ...rest };
}

const print = defaultPrint;
const support = defaultSupport;
const scaffold = defaultScaffold;

export const fields = {
  height: field('--height', 'Height', 'mm', positiveRule, { without: 'as it is' }),
  scale: field('--scale', 'Scale', '×', positiveRule, { without: '1' }),
  turnX: field('--rotate', 'Turn about x', '°', turnRule, { without: '0' }),
  turnY: field('--rotate', 'Turn about y', '°', turnRule, { without: '0' }),
  turnZ: field('--rotate', 'Turn about z', '°', turnRule, { without: '0' }),
  lift: field('--lift', 'Lift off the plate', 'mm', distanceRule, { without: '0' }),
  copies: field('--copies', 'Copies', '', copiesRule, { value: 1 }),
  gap: field('--gap', 'Gap between parts', 'mm', distanceRule, { value: usualGap }),
  layerHeight: field('--layer-height', 'Layer height', 'mm', positiveRule, {
    value: print.layerHeight,
  }),
  pixelSize: field('--pixel-size', 'Pixel size', 'mm', positiveRule, { value: print.pixelSize }),
  screenWidth: field('--screen', 'Pixels across', 'px', pixelsRule, { value: print.screenWidth }),
  screenHeight: field('--screen', 'Pixels up', 'px', pixelsRule, { value: print.screenHeight }),
  criticalAngle: field('--critical-angle', 'Overhang angle', '°', slopeRule, {
    value: support.criticalAngle,
  }),
  supportArea: field('--support-area', 'A support holds', 'mm²', positiveRule, {
    value: support.supportArea,
  }),
  inset: field('--inset', 'Off the contour', 'mm', distanceRule, { value: support.inset }),
  minimumHeight: field('--min-height', 'Least height', 'mm', distanceRule, {
    value: support.minimumHeight,
  }),
  minimumSpacing: field('--min-spacing', 'Least spacing', 'mm', distanceRule, {
    without: 'by area',
  }),
  tipDiameter: field('--tip-diameter', 'Tip, across', 'mm', positiveRule, {
    value: scaffold.tipDiameter,
  }),
  tipLength: field('--tip-length', 'Tip, high', 'mm', positiveRule, { value: scaffold.tipLength }),
  pillarDiameter: field('--pillar-diameter', 'Pillar, across', 'mm', positiveRule, {
    value: scaffold.pillarDiameter,
  }),
  footDiameter: field('--foot-diameter', 'Foot, across', 'mm', positiveRule, {
    value: scaffold.footDiameter,
  }),
  footHeight: field('--foot-height', 'Foot, high', 'mm', distanceRule, {
    value: scaffold.footHeight,
  }),
  braceDiameter: field('--brace-diameter', 'Braces, across', 'mm', positiveRule, {
    value: scaffold.braceDiameter,
  }),
  braceReach: field('--brace-reach', 'Braces, reach', 'mm', distanceRule, {
    value: scaffold.braceReach,
  }),
  raft: field('--raft', 'Raft, thick', 'mm', positiveRule, { without: 'none' }),
} as const satisfies Record<string, NumberField>;

export type FieldName = keyof typeof fields;

/** What the page calls an option of the command. */
export const optionLabels: Readonly<Record<string, string>> = {
  ...Object.fromEntries(Object.values(fields).map(({ option, label }) => [option, label])),
  '--rotate': 'Turn',
  '--screen': 'Screen',
  '--units': 'Units',
  '--up': 'Up in the file',
  '--center': 'Move to the origin',
};
