import type { AnalysisParameters } from 'stiltforge';
import { loadBinary } from 'stiltforge/load';
import { fromNative } from './errors.js';
import type { MemoryEstimate, ModelSize } from './memory_estimate.js';

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

/** What binding.node, src/binding, offers to this package. */
export interface Binding {
  estimateMemory(model: ModelSize): MemoryEstimate;
  parameterTable: readonly Readonly<ParameterRow>[];
}

let loaded: Binding | undefined;

/** Loads it when it is first needed: importing this module never fails. Throws an AnalysisError. */
export function binding(): Binding {
  try {
    loaded ??= loadBinary('binding.node') as Binding;
    return loaded;
  } catch (error) {
    throw fromNative(error);
  }
}
