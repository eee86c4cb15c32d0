import { instantiateNapiModule } from '@emnapi/core';
import { createContext } from '@emnapi/runtime';
import { AnalysisError } from '../errors.js';
import { wasiFunctions, withoutSystem } from './wasi.mjs';

/**
 * The module's address as a string or a URL, a Response with it, its bytes as an ArrayBuffer or a view,
 * or a WebAssembly.Module that was compiled of them.
 */
export type WasmSource = string | object;

type Reader = (address: string) => WasmSource | Promise<WasmSource>;

let readDefault: Reader = (address) => address;
let loading: Promise<void> | undefined;
let loaded: object | undefined;

/** How the module beside this script is read, where it can't be fetched. */
export function readDefaultBy(reader: Reader): void {
  readDefault = reader;
}

/**
 * Loads the module, once; a call before that throws an AnalysisError. Without a source it is looked for
 * beside this script, as stiltforge.wasm.
 *
 * Rejects with an AnalysisError of the code ERR_STILTFORGE_BINARY; then it may be called again.
 */
export function load(source?: WasmSource | Promise<WasmSource>): Promise<void> {
  loading ??= instantiate(source).catch((error: unknown) => {
    loading = undefined;
    throw error;
  });
  return loading;
}

/** Stands in the place of ../native_binding.ts. */
export function loadBinding(): object {
  if (loaded) return loaded;
  throw new AnalysisError(
    'ERR_STILTFORGE_BINARY',
    'The WebAssembly module is not loaded. Call load() of stiltforge/wasm first and wait for it.',
  );
}

async function instantiate(source: WasmSource | Promise<WasmSource> | undefined): Promise<void> {
  const beside = new URL(/* @vite-ignore */ './stiltforge.wasm', import.meta.url);
  const isAddress = typeof source === 'string' || source instanceof URL;
  const place = source === undefined ? beside : isAddress ? source : 'what was given';
  try {
    loaded = await exportsOf(await (source ?? readDefault(beside.href)));
  } catch (error) {
    const { message = String(error) } = Object(error) as { message?: string };
    throw new AnalysisError(
      'ERR_STILTFORGE_BINARY',
      `The WebAssembly module could not be loaded from ${place}: ${message}. Let load() have its` +
        ' address or its bytes.',
      { cause: error },
    );
  }
}

async function exportsOf(source: WasmSource): Promise<object> {
  let memory: WebAssembly.Memory;
  const { napiModule } = await instantiateNapiModule(source as BufferSource, {
    context: createContext(),
    overwriteImports: ({ env, napi, emnapi }) => ({
      env: withoutSystem({ ...env, ...napi, ...emnapi, emscripten_notify_memory_growth() {} }),
      wasi_snapshot_preview1: wasiFunctions(() => memory),
    }),
    beforeInit: ({ instance }) => {
      ({ memory } = instance.exports as { memory: WebAssembly.Memory });
      (instance.exports as { _initialize(): void })._initialize();
    },
  });
  return napiModule.exports as object;
}
