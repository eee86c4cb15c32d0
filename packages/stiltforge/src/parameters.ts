import type { AnalysisParameters } from 'stiltforge';
import { binding } from './binding.js';
import { AnalysisError } from './errors.js';

/** A row of the table of parameters, which the native side keeps. */
export interface ParameterRow {
  name: keyof AnalysisParameters;
  kind: 'flag' | 'integer' | 'number';
  /** Numbers outside least to most make no sense. */
  least: number;
  most: number;
  /** None for the size. */
  default?: number | boolean;
  unit: string;
  /** One sentence without a full stop. */
  summary: string;
}

/** The 28 parameters with their ranges, defaults and units, in the order of the native checks. */
export function parameterTable(): readonly Readonly<ParameterRow>[] {
  return binding<{ parameterTable: readonly Readonly<ParameterRow>[] }>().parameterTable;
}

/** Pixels. Below it a region is owed more supports than it has pixels, and then it gets none. */
const leastStrength = 1;

/** A frozen copy of the parameters. Throws an AnalysisError that lists everything wrong with them. */
export function checkedParameters(parameters: AnalysisParameters): Readonly<AnalysisParameters> {
  if (typeof parameters !== 'object' || parameters === null) {
    throw new AnalysisError(
      'ERR_STILTFORGE_PARAMETER',
      `The parameters are ${String(parameters)}, not an object with the 28 parameters of a model.`,
    );
  }
  const wrong: string[] = [];
  for (const row of parameterTable()) {
    const value: unknown = parameters[row.name];
    if (isRight(value, row)) continue;
    wrong.push(
      value === undefined
        ? `${row.name} is missing`
        : `${row.name} is ${String(value)}, not ${expected(row)}`,
    );
  }
  const { addSupport, supportStrength } = parameters;
  if (addSupport && supportStrength >= 0 && supportStrength < leastStrength) {
    wrong.push(
      `supportStrength is ${supportStrength}, with which no region gets a support: a support holds at` +
        ` least ${leastStrength} pixel (addSupport: false places none)`,
    );
  }
  if (wrong.length > 0) {
    throw new AnalysisError('ERR_STILTFORGE_PARAMETER', `Wrong parameters: ${wrong.join('; ')}.`);
  }
  return Object.freeze({ ...parameters });
}

function isRight(value: unknown, { kind, least, most }: ParameterRow): boolean {
  if (kind === 'flag') return typeof value === 'boolean';
  if (typeof value !== 'number' || !(value >= least && value <= most)) return false;
  return kind === 'number' || Number.isInteger(value);
}

function expected({ kind, least, most }: ParameterRow): string {
  if (kind === 'flag') return 'true or false';
  return `${kind === 'integer' ? 'a whole number' : 'a number'} from ${least} to ${most}`;
}
