// What a value is, whatever realm it comes from: an ArrayBuffer of another context or frame, or of a
// test runner's environment, is no `instanceof` ArrayBuffer. The getters of the language itself know
// it, in browsers as well.

const byteLength = getter(ArrayBuffer.prototype, 'byteLength');
const typedArrayName = getter(Object.getPrototypeOf(Uint8Array.prototype), Symbol.toStringTag);

function getter(prototype: object, key: PropertyKey): (this: unknown) => unknown {
  return Object.getOwnPropertyDescriptor(prototype, key)?.get as (this: unknown) => unknown;
}

/** Not a SharedArrayBuffer. */
export function isArrayBuffer(value: unknown): value is ArrayBuffer {
  try {
    byteLength.call(value);
    return true;
  } catch {
    return false;
  }
}

/** Buffers are such arrays, too. */
export function isByteArray(value: unknown): value is Uint8Array | Uint8ClampedArray {
  const name = typedArrayName.call(value);
  return name === 'Uint8Array' || name === 'Uint8ClampedArray';
}
