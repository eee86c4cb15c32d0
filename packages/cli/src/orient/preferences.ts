import { InvalidArgumentError } from 'commander';
import { defaultWeights, type OrientationWeights } from 'stiltforge/orientation';
import { threeNumbers } from '../option_values.js';
import { type Direction, preferences, preferredWeight, sides } from './preferred.js';

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
      number === undefined ? preferredWeight(measure) : weightFrom(name, number.trim());
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

const sidesAndAxes: Readonly<Record<string, Direction>> = {
  ...sides,
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
  if (Object.hasOwn(sidesAndAxes, name)) return sidesAndAxes[name];
  const direction = threeNumbers(text);
  if (direction?.some((value) => value !== 0)) return direction;
  throw new InvalidArgumentError(
    `It must be a side (${Object.keys(sidesAndAxes).join(', ')}) or a direction like 0,-1,0.5.`,
  );
}
