import { InvalidArgumentError } from 'commander';
import { defaultWeights, type OrientationWeights } from 'stiltforge/orientation';
import { threeNumbers } from '../option_values.js';

/** What a person may prefer, and the measure that then weighs more. */
export const preferences: Readonly<Record<string, keyof OrientationWeights>> = {
  'few-points': 'points',
  'little-overhang': 'overhang',
  'few-islands': 'islands',
  low: 'height',
  'no-cups': 'cups',
  clean: 'marks',
};

/** How many times more a preference weighs than it does by itself. */
const emphasis = 10;
const mostWeight = 1e6;

/** "few-points,low" or "few-points=3,low=1": a number is the weight itself. */
export function weightsFrom(text: string, earlier?: OrientationWeights): OrientationWeights {
  const weights = { ...(earlier ?? defaultWeights) };
  for (const word of text.split(',')) {
    const [, name, number] = /^\s*([^=]*?)\s*(?:=(.*))?$/.exec(word) ?? [];
    const measure = Object.hasOwn(preferences, name) ? preferences[name] : undefined;
    if (measure === undefined) {
      const names = Object.keys(preferences).join(', ');
      throw new InvalidArgumentError(`There is no preference "${name}"; there are ${names}.`);
    }
    weights[measure] =
      number === undefined ? emphasis * defaultWeights[measure] : weightFrom(name, number.trim());
  }
  return weights;
}

function weightFrom(name: string, text: string): number {
  const value = /^(\d+\.?\d*|\.\d+)$/.test(text) ? Number(text) : Number.NaN;
  if (value >= 0 && value <= mostWeight) return value;
  throw new InvalidArgumentError(
    `The weight of ${name} must be a plain number from 0 to ${mostWeight.toLocaleString('en-US')}.`,
  );
}

type Direction = [x: number, y: number, z: number];

const sides: Readonly<Record<string, Direction>> = {
  front: [0, -1, 0],
  back: [0, 1, 0],
  left: [-1, 0, 0],
  right: [1, 0, 0],
  top: [0, 0, 1],
  bottom: [0, 0, -1],
  '+x': [1, 0, 0],
  '-x': [-1, 0, 0],
  '+y': [0, 1, 0],
  '-y': [0, -1, 0],
  '+z': [0, 0, 1],
  '-z': [0, 0, -1],
};

/** The direction that a side faces: its name, an axis, or three numbers. */
export function directionFrom(text: string): Direction {
  const name = text.trim().toLowerCase();
  if (Object.hasOwn(sides, name)) return sides[name];
  const direction = threeNumbers(text);
  if (direction?.some((value) => value !== 0)) return direction;
  throw new InvalidArgumentError(
    `It must be a side (${Object.keys(sides).join(', ')}) or a direction like 0,-1,0.5.`,
  );
}
