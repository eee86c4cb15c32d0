import type { MaskSlicer } from './slicing.js';

/**
 * One slice as grey pixels alone, as printer files and folders of pictures hold it. The mask slicer finds
 * the material and how well the mask before supports it: hand it the masks of one model, bottom first,
 * each once.
 */
export interface SliceMask {
  /** maskWidth * maskHeight grey bytes of the slicer's options, row by row. Copied by the call. */
  readonly mask: Uint8Array;
  /** Its slices are as large as those of the model. */
  readonly slicer: MaskSlicer;
}

/** Whether it is meant as a mask; the native side checks it. */
export function isSliceMask(value: unknown): value is SliceMask {
  return typeof value === 'object' && value !== null && 'mask' in value;
}
