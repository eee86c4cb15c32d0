/** Sets of pixels of a slice's rows. In a row runs ascend and do not overlap; they may touch. */
export interface RunArrays {
  /**
   * Row y has the runs from rowStart[y] to before rowStart[y + 1], so there is an entry more than there
   * are rows: the first is 0, the last the number of runs.
   */
  readonly rowStart: Uint32Array;
  /** Run i covers the columns from begin[i] to before end[i]. */
  readonly begin: Uint16Array;
  readonly end: Uint16Array;
}

/** The pixels that are not fully supported, each run of them within material without a gap. */
export interface Overhang extends RunArrays {
  /** Support value of each of these pixels, row by row: 0 to 254. */
  readonly blue: Uint8Array;
  /** Stroke value of each. */
  readonly green: Uint8Array;
}

/**
 * One slice as runs of material, as a host has them that slices meshes or reads coded layers. Costs what
 * its contour is long, where a picture costs all its pixels. The arrays are read by the call. Material
 * outside `overhang` has the support value 255.
 */
export interface SliceRuns extends RunArrays {
  readonly overhang?: Overhang;
}

/** Whether it is meant as runs; the native side checks them. */
export function isSliceRuns(value: unknown): value is SliceRuns {
  return typeof value === 'object' && value !== null && 'rowStart' in value;
}
