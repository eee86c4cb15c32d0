// The promise API in WebAssembly, for pages, workers and Node.

export * from '../analysis.js';
export * from '../check.js';
export * from '../orientation.js';
export * from '../scaffold.js';
export * from '../slicing.js';
export { load, type WasmSource } from './binding.mjs';
