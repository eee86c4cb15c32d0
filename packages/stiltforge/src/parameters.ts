import type { AnalysisParameters } from 'stiltforge';
import { AnalysisError } from './errors.js';

type Check = (value: unknown) => string | undefined;

const flag: Check = (value) => (typeof value === 'boolean' ? undefined : 'true or false');

function numberIn(least: number, most: number): Check {
  return (value) =>
    typeof value === 'number' && value >= least && value <= most
      ? undefined
      : `a number from ${least} to ${most}`;
}

function integerIn(least: number, most: number): Check {
  return (value) =>
    Number.isInteger(value) && numberIn(least, most)(value) === undefined
      ? undefined
      : `a whole number from ${least} to ${most}`;
}

const largest = 3.4e38; // what single precision holds
const atLeastZero = numberIn(0, largest);

const checks: Record<keyof AnalysisParameters, Check> = {
  width: integerIn(1, 65535),
  height: integerIn(1, 65535),
  numLayer: integerIn(0, 2 ** 32 - 1),
  needBuffer: flag,
  addSupport: flag,
  supportStrength: atLeastZero,
  growthStrength: atLeastZero,
  strengthTransmited: atLeastZero,
  firstSupportMinStrength: atLeastZero,
  numberOfSamplePerSupport: atLeastZero,
  numberOfSamplePerVoronoi: atLeastZero,
  ghostPart: atLeastZero,
  strokePart: atLeastZero,
  anglePart: atLeastZero,
  maxSupportRadiusInIsland: atLeastZero,
  islandSupportMultiplier: atLeastZero,
  islandStrengthSupport: atLeastZero,
  strengthOfPlatePixel: atLeastZero,
  maxZGhost: atLeastZero,
  maxGhost: numberIn(0, 2 ** 31 - 1),
  ghostRadius: numberIn(0, 4096),
  maxVoronoiIteration: atLeastZero,
  validationDistanceFormVoronoi: atLeastZero,
  distCloseToIsland: atLeastZero,
  closeToIslandStrengthTransmited: atLeastZero,
  almostNotBlueCounterLimit: atLeastZero,
  islandMinBlue: atLeastZero,
  maxGhostValueToPlaceSupport: atLeastZero,
};

/** The names of the 28 parameters. */
export const parameterNames = Object.keys(checks) as (keyof AnalysisParameters)[];

/** A frozen copy of the parameters. Throws an AnalysisError that lists everything wrong with them. */
export function checkedParameters(parameters: AnalysisParameters): Readonly<AnalysisParameters> {
  if (typeof parameters !== 'object' || parameters === null) {
    throw new AnalysisError(
      'ERR_STILTFORGE_PARAMETER',
      `The parameters are ${String(parameters)}, not an object with the 28 parameters of a model.`,
    );
  }
  const wrong: string[] = [];
  for (const name of parameterNames) {
    const value: unknown = parameters[name];
    const expected = checks[name](value);
    if (expected === undefined) continue;
    wrong.push(
      value === undefined ? `${name} is missing` : `${name} is ${String(value)}, not ${expected}`,
    );
  }
  if (wrong.length > 0) {
    throw new AnalysisError('ERR_STILTFORGE_PARAMETER', `Wrong parameters: ${wrong.join('; ')}.`);
  }
  return Object.freeze({ ...parameters });
}
