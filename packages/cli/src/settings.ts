import type { AnalysisParameters } from 'stiltforge';

/** The printer, and how the part is cut for it. */
export interface PrintSettings {
  /** mm */
  layerHeight: number;
  /** mm, side of the square pixels */
  pixelSize: number;
  /** The printer's screen, pixels. */
  screenWidth: number;
  screenHeight: number;
}

/** Where supports are wanted, in physical units. docs/parameters.md gives the reasons. */
export interface SupportSettings {
  /** Degrees between the plate and a surface that just carries itself. */
  criticalAngle: number;
  /** mm from the contour inwards where supports are avoided. */
  inset: number;
  /** mm2 of a layer that one support holds. */
  supportArea: number;
}

export const defaultPrint: PrintSettings = {
  layerHeight: 0.05,
  pixelSize: 0.05,
  screenWidth: 3840,
  screenHeight: 2400,
};

export const defaultSupport: SupportSettings = {
  criticalAngle: 45,
  inset: 0.4,
  supportArea: 15,
};

/** mm; what fullOverhang() is where pixels that hang less far do not carry themselves. */
export const leastFullOverhang = 0.5;

/** Millimetres beyond the material below from where on a pixel hangs free. */
export function fullOverhang(print: PrintSettings, support: SupportSettings): number {
  const reach = print.layerHeight / Math.tan((support.criticalAngle * Math.PI) / 180);
  return Math.max(leastFullOverhang, 2 * reach);
}

/**
 * The 28 parameters of the analysis for slices of the given size. Lengths and areas are physical here
 * and turned into pixels and layers, so that a part gets about the same supports on any printer.
 */
export function analysisParameters(
  print: PrintSettings,
  support: SupportSettings,
  slices: { width: number; height: number; layerCount: number },
): AnalysisParameters {
  const pixels = (millimetres: number): number => millimetres / print.pixelSize;
  const pixelArea = (squareMillimetres: number): number =>
    Math.round(squareMillimetres / print.pixelSize ** 2);
  const layers = (millimetres: number): number => Math.round(millimetres / print.layerHeight);
  const spacing = Math.sqrt(support.supportArea);
  return {
    width: slices.width,
    height: slices.height,
    numLayer: slices.layerCount,
    needBuffer: false,
    addSupport: true,
    supportStrength: Math.max(1, pixelArea(support.supportArea)),
    growthStrength: 1000,
    strengthTransmited: 1,
    firstSupportMinStrength: 1.3,
    numberOfSamplePerSupport: 100,
    numberOfSamplePerVoronoi: Math.max(4, pixelArea(1)),
    ghostPart: 1,
    strokePart: 0.3,
    anglePart: 1,
    maxSupportRadiusInIsland: pixels(0.8 * spacing),
    islandSupportMultiplier: 1,
    islandStrengthSupport: 1,
    strengthOfPlatePixel: 1,
    maxZGhost: layers(10),
    maxGhost: 10_000,
    ghostRadius: Math.min(4096, Math.round(pixels(0.8 * spacing))),
    maxVoronoiIteration: 20,
    validationDistanceFormVoronoi: Math.max(1, pixels(0.1)),
    distCloseToIsland: Math.max(1, layers(0.1)),
    closeToIslandStrengthTransmited: 1.2,
    almostNotBlueCounterLimit: 0,
    islandMinBlue: 0,
    maxGhostValueToPlaceSupport: 0,
  };
}
