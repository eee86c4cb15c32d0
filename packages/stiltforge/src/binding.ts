import { fromNative } from './errors.js';
import { loadBinding } from './native_binding.js';

let loaded: object | undefined;

/**
 * What src/binding exports, be it as binding.node or in WebAssembly; each module declares the part of it
 * that it uses. Loaded when it is first needed: importing this module never fails. Throws an AnalysisError.
 */
export function binding<Part extends object>(): Part {
  try {
    loaded ??= loadBinding();
    return loaded as Part;
  } catch (error) {
    throw fromNative(error);
  }
}
