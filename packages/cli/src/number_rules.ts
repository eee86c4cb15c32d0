/** What a number that a person gives must be. */
export interface NumberRule {
  accepts(value: number): boolean;
  /** Follows "It must be". */
  wanted: string;
}

/** A length that is none at 0, a factor. */
export const positiveRule: NumberRule = {
  accepts: (value) => value > 0,
  wanted: 'a plain number above 0, like 0.05',
};

export const distanceRule: NumberRule = {
  accepts: (value) => value >= 0,
  wanted: 'a plain number from 0, like 0.4',
};

/** Between a surface and the plate. */
export const slopeRule: NumberRule = {
  accepts: (value) => value > 0 && value < 90,
  wanted: 'a plain number of degrees between 0 and 90, like 45',
};

export const turnRule: NumberRule = {
  accepts: (value) => Math.abs(value) <= 360,
  wanted: 'a number of degrees from -360 to 360, like -12.5',
};

/** Of a screen, across or up. */
export const pixelsRule: NumberRule = {
  accepts: (value) => Number.isInteger(value) && value >= 1 && value <= 65535,
  wanted: 'a whole number of pixels from 1 to 65535',
};

/** Of a mesh on a plate. */
export const mostCopies = 10_000;

export const copiesRule: NumberRule = {
  accepts: (value) => Number.isInteger(value) && value >= 1 && value <= mostCopies,
  wanted: 'a whole number from 1 to 10,000',
};

/** Digits with a decimal point, if any: no other notation, so that "0x10" or "5e" is no length. */
const plainNumber = /^(\d+\.?\d*|\.\d+)$/;

/** NaN for a text that is no plain number without a sign. */
export function plainNumberFrom(text: string): number {
  return plainNumber.test(text) ? Number(text) : Number.NaN;
}

/** The same of one that may have a sign. */
export function signedNumberFrom(text: string): number {
  const [, sign, digits] = /^([+-]?)(.*)$/.exec(text.trim()) ?? [];
  return (sign === '-' ? -1 : 1) * plainNumberFrom(digits) + 0;
}
