declare namespace stiltforge {
  /** Node's Buffer where a program has the types of Node, else the Uint8Array that a Buffer is. */
  type Bytes = typeof globalThis extends { Buffer: { alloc(size: number): infer NodeBuffer } }
    ? NodeBuffer
    : Uint8Array;

  /**
   * The 28 parameters of a model. All are required; there are no defaults. Lengths are in pixels of the
   * slice, areas in pixels, strengths in pixels of material that a support can carry.
   */
  interface AnalysisParameters {
    /** Width of every slice, pixels, 1 to 65535; the low 16 bits count. */
    width: number;
    /** Height of every slice, pixels, 1 to 65535; the low 16 bits count. */
    height: number;
    /** Number of slices of the model. Echoed as `sliceCount`, used for nothing else. */
    numLayer: number;
    /** Results carry `pixelBuffer`, `topPixelBuffer` and `supportedPixels`. Costs memory and time. */
    needBuffer: boolean;
    /** Supports are placed. Without them only regions and their relations are found. */
    addSupport: boolean;
    /**
     * Pixels of unsupported material that one support carries, at least 1: with less no region gets any
     * support. A region that is owed more supports than it has overhanging pixels gets none, either.
     */
    supportStrength: number;
    /** Divides the strength passed up from below before it is compared with what is unsupported. */
    growthStrength: number;
    /** Share of the strength of the layer below that a region keeps, once it is far from an island. */
    strengthTransmited: number;
    /** A region not an island gets no support while `supportStrength` / this exceeds its weight. */
    firstSupportMinStrength: number;
    /** Unsupported pixels sampled for one support; sets the step of the sampling lattice (1 to 3). */
    numberOfSamplePerSupport: number;
    /** Most candidates kept for one support (at least 4 are), before the lattice step divides it. */
    numberOfSamplePerVoronoi: number;
    /** Weight, in the score, of the closeness to supports from below. */
    ghostPart: number;
    /** Weight, in the score, of the green channel (keep off the contour). */
    strokePart: number;
    /** Weight, in the score, of the blue channel (support where it hangs freest). */
    anglePart: number;
    /** Widest reach of a support in an island, pixels; wider cells get more supports. */
    maxSupportRadiusInIsland: number;
    /** Factor on the number of supports of an island. */
    islandSupportMultiplier: number;
    /** Strength of a support in an island, as a factor on `supportStrength`. */
    islandStrengthSupport: number;
    /** Strength per pixel of the first layer, which lies on the plate. */
    strengthOfPlatePixel: number;
    /** Age in layers after which a listed ghost support is retired. */
    maxZGhost: number;
    /** Most supports from below that a region remembers; truncated to an integer. */
    maxGhost: number;
    /** Radius round a support from below within which new ones are discouraged, pixels, 0 to 4096. */
    ghostRadius: number;
    /** Most iterations of the relaxation that spreads the supports; 0 places none. */
    maxVoronoiIteration: number;
    /** A support that moves no farther than this, pixels, has settled. */
    validationDistanceFormVoronoi: number;
    /** Layers above an island within which its region counts as close to it. */
    distCloseToIsland: number;
    /** `strengthTransmited` of a region close to an island. */
    closeToIslandStrengthTransmited: number;
    /** A region with any blue value below this may get a support when it otherwise would not. */
    almostNotBlueCounterLimit: number;
    /** The same for regions close to an island. */
    islandMinBlue: number;
    /** Stored, changes nothing. */
    maxGhostValueToPlaceSupport: number;
  }

  /** A support point, in pixels; `z` is the number of the slice, counted from 1. */
  interface Support {
    x: number;
    y: number;
    z: number;
    /** Placed for an island: a region with nothing below it. */
    isMinima: boolean;
  }

  /** A connected region of material; its box is columns [xMin, xMax) and rows [yMin, yMax). */
  interface Group {
    numPixel: number;
    /** Pixels that lie over material of the slice below. */
    supportedPixel: number;
    supports: Support[];
    xMin: number;
    yMin: number;
    xMax: number;
    yMax: number;
  }

  interface Layer {
    width: number;
    height: number;
    /** Pixels of material. */
    pixelCount: number;
    groupCount: number;
    /** `groups[i]` is group i + 1 of GroupToBitmap. */
    groups: Group[];
  }

  interface SliceResult {
    /** The slice with material replaced by 0x80000000 + group number (little endian); or null. */
    pixelBuffer: Bytes | null;
    /** Per pixel 0xFE000000 + the number of the highest slice with material there, or 0; or null. */
    topPixelBuffer: Bytes | null;
    width: number;
    height: number;
    sliceCount: number;
    needBuffer: boolean;
    /** Low 16 bits of the index that AnalyseSlice was given. */
    layerIndex: number;
    layer: Layer;
    /** The blue byte of every pixel of material, 0 elsewhere; only with `needBuffer`. */
    supportedPixels?: Bytes;
  }

  type SliceCallback = (result: SliceResult | Error) => void;

  /** Eight RGBA images of the group's box, then its width and height; or only an Error. */
  type GroupCallback = (
    sample: Bytes | Error,
    ghost: Bytes,
    angle: Bytes,
    score: Bytes,
    scoreSupport: Bytes,
    support: Bytes,
    stroke: Bytes,
    combined: Bytes,
    width: number,
    height: number,
  ) => void;

  /**
   * Queues the analysis of the next slice of the model, bottom first, and returns. The slice is copied.
   * Calls may be made before earlier callbacks: slices are analysed one at a time in call order.
   * @param slice width * height RGBA pixels: red is material, blue the support value, green the stroke
   *   value, alpha 255; background is 0, 0, 0, 255.
   * @param layerIndex echoed in the result.
   */
  function AnalyseSlice(slice: ArrayBuffer, layerIndex: number, callback: SliceCallback): void;

  namespace AnalyseSlice {
    /** Groups, since the module was loaded, that got no supports because their placement failed. */
    const failedTasks: number;
  }

  /** Starts a model. Throws while a job is queued or running. */
  function InitAnalyseSlice(parameters: AnalysisParameters): void;

  /**
   * Queues the rendering of one analysed group.
   * @param layerIndex index of the slice in the order of analysis, from 0.
   * @param groupIndex from 1; 0 is an empty placeholder.
   */
  function GroupToBitmap(layerIndex: number, groupIndex: number, callback: GroupCallback): void;

  /** Frees the model, so that another environment may start one. Throws while a job is queued or running. */
  function CleanPointer(): void;

  /** Frees the pixels of one analysed slice. Throws while a job is queued or running. */
  function CleanSlicePointer(layerIndex: number): void;
}

export = stiltforge;
