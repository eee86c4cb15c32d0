import { defaultWeights, type OrientationWeights } from 'stiltforge/orientation';

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

export function preferredWeight(measure: keyof OrientationWeights): number {
  return emphasis * defaultWeights[measure];
}

export type Direction = [x: number, y: number, z: number];

/** The directions that sides face. */
export const sides: Readonly<Record<string, Direction>> = {
  front: [0, -1, 0],
  back: [0, 1, 0],
  left: [-1, 0, 0],
  right: [1, 0, 0],
  top: [0, 0, 1],
  bottom: [0, 0, -1],
};
