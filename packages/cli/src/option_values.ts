import { InvalidArgumentError } from 'commander';
import {
  distanceRule,
  type NumberRule,
  pixelsRule,
  plainNumberFrom,
  positiveRule,
  signedNumberFrom,
  slopeRule,
  turnRule,
} from './number_rules.js';
import { formatNames, type OutputFormat } from './output/formats.js';

// How the values of options are read. Each throws an InvalidArgumentError that says what it must be.

export function folderName(text: string): string {
  if (text.trim() === '') throw new InvalidArgumentError('It must be the name of a folder.');
  return text;
}

function numberFrom(text: string, { accepts, wanted }: NumberRule): number {
  const value = plainNumberFrom(text);
  if (!Number.isFinite(value) || !accepts(value))
    throw new InvalidArgumentError(`It must be ${wanted}.`);
  return value;
}

export function positive(text: string): number {
  return numberFrom(text, positiveRule);
}

export function distance(text: string): number {
  return numberFrom(text, distanceRule);
}

export function angle(text: string): number {
  return numberFrom(text, slopeRule);
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
  if (!size.every(pixelsRule.accepts)) {
    throw new InvalidArgumentError(
      'It must be two numbers of pixels from 1 to 65535, like 3840x2400.',
    );
  }
  return size as [number, number];
}

/** Three numbers, which may be negative, with commas between; undefined for anything else. */
export function threeNumbers(text: string): [number, number, number] | undefined {
  const numbers = text.split(',').map(signedNumberFrom);
  return numbers.length === 3 && numbers.every(Number.isFinite)
    ? (numbers as [number, number, number])
    : undefined;
}

export function turn(text: string): [number, number, number] {
  const degrees = threeNumbers(text);
  if (degrees?.every(turnRule.accepts)) return degrees;
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
