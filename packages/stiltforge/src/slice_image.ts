import { AnalysisError } from './errors.js';
import { isArrayBuffer, isByteArray } from './realms.js';

/** Pixels with their size, like the ImageData of a canvas. */
export interface ImageLike {
  readonly width: number;
  readonly height: number;
  readonly data: Uint8Array | Uint8ClampedArray;
}

/**
 * One slice: width * height RGBA pixels, 4 bytes each, row by row. Red is material, blue the support
 * value, green the stroke value, alpha 255; background is 0, 0, 0, 255.
 */
export type SliceImage = ArrayBuffer | Uint8Array | Uint8ClampedArray | ImageLike;

/** The pixels in the form that the native side takes, which knows how many there must be. */
export function slicePixels(
  slice: SliceImage,
  width: number,
  height: number,
): ArrayBuffer | Uint8Array | Uint8ClampedArray {
  const pixels = pixelsOf(slice, width, height);
  if (isArrayBuffer(pixels) || isArrayBuffer(pixels.buffer)) return pixels;
  // Shared memory could change while it is read.
  return new Uint8Array(pixels);
}

function pixelsOf(slice: SliceImage, width: number, height: number) {
  if (isArrayBuffer(slice) || isByteArray(slice)) return slice;
  // A program without types may pass anything.
  const image = Object(slice) as Partial<ImageLike>;
  const { data } = image;
  if (!isByteArray(data)) {
    throw wrongSlice(
      'A slice is an ArrayBuffer, a Buffer, a Uint8Array or a Uint8ClampedArray of RGBA pixels, an' +
        ' image with width, height and such data, an object with rowStart, begin and end of runs, or one' +
        ' with a mask and its slicer.',
    );
  }
  if (image.width !== width || image.height !== height) {
    throw wrongSlice(
      `The slices of this model are ${width} x ${height} pixels, but this image is` +
        ` ${String(image.width)} x ${String(image.height)}.`,
    );
  }
  return data;
}

function wrongSlice(message: string): AnalysisError {
  return new AnalysisError('ERR_STILTFORGE_SLICE', message);
}
