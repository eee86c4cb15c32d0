import { InvalidArgumentError } from 'commander';
import { formatNames, type OutputFormat } from './output/formats.js';

// How the values of options are read. Each throws an InvalidArgumentError that says what it must be.

export function folderName(text: string): string {
  if (text.trim() === '') throw new InvalidArgumentError('It must be the name of a folder.');
  return text;
}

/** Digits with a decimal point, if any: no other notation, so that "0x10" or "5e" is no length. */
const plainNumber = /^(\d+\.?\d*|\.\d+)$/;

function numberFrom(text: string, accepts: (value: number) => boolean, wanted: string): number {
  const value = plainNumber.test(text) ? Number(text) : Number.NaN;
  if (!Number.isFinite(value) || !accepts(value))
    throw new InvalidArgumentError(`It must be ${wanted}.`);
  return value;
}

export function positive(text: string): number {
  return numberFrom(text, (value) => value > 0, 'a plain number above 0, like 0.05');
}

export function distance(text: string): number {
  return numberFrom(text, (value) => value >= 0, 'a plain number from 0, like 0.4');
}

export function angle(text: string): number {
  return numberFrom(
    text,
    (value) => value > 0 && value < 90,
    'a plain number of degrees between 0 and 90, like 45',
  );
}

export function wholeNumber(least: number, most: number): (text: string) => number {
  return (text) => {
    const value = /^\d+$/.test(text) ? Number(text) : Number.NaN;
    if (value >= least && value <= most) return value;
    throw new InvalidArgumentError(
      `It must be a whole number from ${least} to ${most.toLocaleString('en-US')}.`,
    );
  };
}

export function screenSize(text: string): [number, number] {
  const match = /^(\d{1,5})x(\d{1,5})$/i.exec(text);
  const size = match === null ? [0, 0] : [Number(match[1]), Number(match[2])];
  if (size.some((side) => side < 1 || side > 65535)) {
    throw new InvalidArgumentError(
      'It must be two numbers of pixels from 1 to 65535, like 3840x2400.',
    );
  }
  return size as [number, number];
}

/** Three numbers, which may be negative, with commas between; undefined for anything else. */
export function threeNumbers(text: string): [number, number, number] | undefined {
  const numbers = text.split(',').map((word) => {
    const [, sign, digits] = /^([+-]?)(.*)$/.exec(word.trim()) ?? [];
    return plainNumber.test(digits) ? (sign === '-' ? -1 : 1) * Number(digits) + 0 : Number.NaN;
  });
  return numbers.length === 3 && numbers.every(Number.isFinite)
    ? (numbers as [number, number, number])
    : undefined;
}

export function turn(text: string): [number, number, number] {
  const degrees = threeNumbers(text);
  if (degrees?.every((value) => Math.abs(value) <= 360)) return degrees;
  throw new InvalidArgumentError(
    'It must be three numbers of degrees from -360 to 360 with commas, like 90,0,-12.5.',
  );
}

/** Names of formats, one or several with commas, beside those given before. */
export function outputFormats(text: string, earlier: OutputFormat[] = []): OutputFormat[] {
  const named = text.split(',').map((word) => formatNames.find((name) => name === word.trim()));
  if (named.includes(undefined)) {
    throw new InvalidArgumentError(`It must be ${formatNames.join(', ')}, or several with commas.`);
  }
  return [...new Set([...earlier, ...(named as OutputFormat[])])];
}
