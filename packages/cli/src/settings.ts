import type { AnalysisParameters } from 'stiltforge';
import { loadBinding } from './slicer.js';

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

/**
 * The 28 parameters of the analysis for slices of the given size. Lengths and areas are physical here
 * and turned into pixels and layers, so that a part gets about the same supports on any printer.
 */
export function analysisParameters(
  print: PrintSettings,
  support: SupportSettings,
  slices: { width: number; height: number; layerCount: number },
): AnalysisParameters {
  return loadBinding().analysisParameters(nativeSettings(print, support), slices);
}

/** What the native side takes, which refuses anything else. */
export function nativeSettings(
  { layerHeight, pixelSize, screenWidth, screenHeight }: PrintSettings,
  { criticalAngle, inset, supportArea }: SupportSettings,
): PrintSettings & SupportSettings {
  const print = { layerHeight, pixelSize, screenWidth, screenHeight };
  return { ...print, criticalAngle, inset, supportArea };
}
