import { loadBinary } from 'stiltforge/load';
import type { Binding } from './binding.js';

/** In the package's build for WebAssembly wasm/binding.mts stands in this module's place. */
export function loadBinding(): Binding {
  return loadBinary('binding.node') as Binding;
}
