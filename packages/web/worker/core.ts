import { load } from 'stiltforge/wasm';

/** Bytes: what a module can address, less what does not follow the part. */
export const mostMemory = 3.5e9;

/** Throws an error that says so when the browser can't run it. */
export async function startCore(core: ArrayBuffer): Promise<void> {
  await load(core);
}
