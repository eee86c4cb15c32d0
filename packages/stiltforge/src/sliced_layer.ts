import type { Overhang, RunArrays } from './slice_runs.js';

/** What the green and the blue byte of a pixel mean. */
export interface ChannelOptions {
  /** mm, positive. */
  layerHeight: number;
  /** mm, positive: the side of the square pixels. */
  pixelSize: number;
  /**
   * Degrees between the plate and a surface that just carries itself, above 0 and at most 90; 45
   * unless set. The support value is 255 up to layerHeight / tan(criticalAngle) beyond the material
   * below.
   */
  criticalAngle?: number;
  /**
   * mm beyond the material below from where on the support value is 0, from 0 to 4096 pixels. Unless
   * set: 0.5, or twice the reach of criticalAngle where that is more.
   */
  fullOverhang?: number;
  /**
   * mm inwards of the contour from where on the stroke value is 0, from 0 to 4096 pixels; 0.4 unless
   * set.
   */
  inset?: number;
}

export interface Slice {
  /**
   * width * height RGBA pixels, row by row: red 255 where there is material, green its stroke value,
   * blue its support value, alpha 255; background 0, 0, 0, 255. The caller's to keep, change or
   * recycle.
   */
  pixels: ArrayBuffer;
  materialPixels: number;
  /** mm above the plate, the middle of the layer. */
  z: number;
}

/** A slice as runs, and the region that each belongs to. */
export interface LabelledRuns extends RunArrays {
  /** Number of each run's region, from 1, in reading order of the regions' first pixels. */
  readonly region: Uint32Array;
  readonly overhang: Overhang;
}
