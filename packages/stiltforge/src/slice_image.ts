import { AnalysisError } from './errors.js';

/**
 * One slice: width * height RGBA pixels, 4 bytes each, row by row. Red is material, blue the support
 * value, green the stroke value, alpha 255; background is 0, 0, 0, 255.
 */
export type SliceImage = ArrayBuffer | Uint8Array | Uint8ClampedArray;

/** The image as the ArrayBuffer that the addon takes, copied only where it must be. */
export function sliceBuffer(slice: SliceImage, width: number, height: number): ArrayBuffer {
  const needed = width * height * 4;
  if (slice instanceof ArrayBuffer) {
    requireSize(slice.byteLength, needed, width, height);
    return slice;
  }
  if (!(slice instanceof Uint8Array || slice instanceof Uint8ClampedArray)) {
    throw new AnalysisError(
      'ERR_STILTFORGE_SLICE',
      'A slice is an ArrayBuffer, a Buffer, a Uint8Array or a Uint8ClampedArray of RGBA pixels.',
    );
  }
  requireSize(slice.byteLength, needed, width, height);
  if (slice.buffer instanceof ArrayBuffer && slice.byteOffset === 0) return slice.buffer;
  return Uint8Array.from(slice).buffer;
}

function requireSize(actual: number, needed: number, width: number, height: number): void {
  if (actual === needed) return;
  throw new AnalysisError(
    'ERR_STILTFORGE_SLICE',
    `A slice of ${width} x ${height} pixels is ${needed} bytes, 4 a pixel, but this one holds ${actual}.`,
  );
}
