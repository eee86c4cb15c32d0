import { loadBinary } from 'stiltforge/load';

/** In the package's build for WebAssembly wasm/binding.mts stands in this module's place. */
export function loadBinding(): object {
  return loadBinary('binding.node') as object;
}
