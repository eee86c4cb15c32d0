import { defaultPrint, defaultSupport } from 'stiltforge/slicing';
import {
  distanceRule,
  type NumberRule,
  pixelsRule,
  positiveRule,
  slopeRule,
  turnRule,
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

export const fields = {
  height: {
    ...{ label: 'Height', unit: 'mm', rule: positiveRule, option: '--height' },
    without: 'as it is',
  },
  scale: {
    ...{ label: 'Scale', unit: '×', rule: positiveRule, option: '--scale' },
    without: '1',
  },
  turnX: { label: 'Turn about x', unit: '°', rule: turnRule, option: '--rotate', without: '0' },
  turnY: { label: 'Turn about y', unit: '°', rule: turnRule, option: '--rotate', without: '0' },
  turnZ: { label: 'Turn about z', unit: '°', rule: turnRule, option: '--rotate', without: '0' },
  lift: {
    ...{ label: 'Lift off the plate', unit: 'mm', rule: distanceRule, option: '--lift' },
    without: '0',
  },
  layerHeight: {
    ...{ label: 'Layer height', unit: 'mm', rule: positiveRule, option: '--layer-height' },
    value: defaultPrint.layerHeight,
  },
  pixelSize: {
    ...{ label: 'Pixel size', unit: 'mm', rule: positiveRule, option: '--pixel-size' },
    value: defaultPrint.pixelSize,
  },
  screenWidth: {
    ...{ label: 'Pixels across', unit: 'px', rule: pixelsRule, option: '--screen' },
    value: defaultPrint.screenWidth,
  },
  screenHeight: {
    ...{ label: 'Pixels up', unit: 'px', rule: pixelsRule, option: '--screen' },
    value: defaultPrint.screenHeight,
  },
  criticalAngle: {
    ...{ label: 'Overhang angle', unit: '°', rule: slopeRule, option: '--critical-angle' },
    value: defaultSupport.criticalAngle,
  },
  supportArea: {
    ...{ label: 'A support holds', unit: 'mm²', rule: positiveRule, option: '--support-area' },
    value: defaultSupport.supportArea,
  },
  inset: {
    ...{ label: 'Off the contour', unit: 'mm', rule: distanceRule, option: '--inset' },
    value: defaultSupport.inset,
  },
  minimumHeight: {
    ...{ label: 'Least height', unit: 'mm', rule: distanceRule, option: '--min-height' },
    value: defaultSupport.minimumHeight,
  },
  minimumSpacing: {
    ...{ label: 'Least spacing', unit: 'mm', rule: distanceRule, option: '--min-spacing' },
    without: 'by area',
  },
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
