import type { AnalysisParameters } from 'stiltforge';
import { binding } from './binding.js';
import { requireObject } from './required_object.js';

/** The printer, and how the part is cut for it. */
export interface PrintSettings {
  /** mm */
  layerHeight: number;
  /** mm, side of the square pixels */
  pixelSize: number;
  /** The printer's screen, pixels. */
  screenWidth: number;
  screenHeight: number;
  /** mm from the plate to the part's lowest point, 0 to 1,000; 0 unless set. */
  lift?: number;
}

/** Where supports are wanted, in physical units. The repository's docs/parameters.md gives the reasons. */
export interface SupportSettings {
  /** Degrees between the plate and a surface that just carries itself. */
  criticalAngle: number;
  /** mm from the contour inwards where supports are avoided. */
  inset: number;
  /** mm2 of a layer that one support holds. */
  supportArea: number;
  /** mm from the plate, or the part, to a place where a support fits; 0.2 unless set. */
  minimumHeight?: number;
  /** mm between supports of the same region, at least; unless set it follows from the area. */
  minimumSpacing?: number;
}

export const defaultPrint: Readonly<PrintSettings> = {
  layerHeight: 0.05,
  pixelSize: 0.05,
  screenWidth: 3840,
  screenHeight: 2400,
};

export const defaultSupport: Readonly<SupportSettings & { minimumHeight: number }> = {
  criticalAngle: 45,
  inset: 0.4,
  supportArea: 15,
  minimumHeight: 0.2,
};

/** A setting that can't be used, alone or together with the others. */
export interface SettingConflict {
  setting: keyof PrintSettings | keyof SupportSettings;
  value: number;
  /** What it must be, with the range; no sentence of its own. */
  range: string;
}

interface PrintBinding {
  analysisParameters(
    settings: PrintSettings & SupportSettings,
    slices: { width: number; height: number; layerCount: number },
  ): AnalysisParameters;
  findSettingConflict(settings: PrintSettings & SupportSettings): SettingConflict | undefined;
}

/**
 * The 28 parameters of the analysis for slices of the given size, such as a slicer. Lengths and areas
 * are physical here and turned into pixels and layers, so that a part gets about the same supports on
 * any printer.
 */
export function analysisParameters(
  print: PrintSettings,
  support: SupportSettings,
  slices: { width: number; height: number; layerCount: number },
): AnalysisParameters {
  return binding<PrintBinding>().analysisParameters(nativeSettings(print, support), slices);
}

/** The first setting that makes no sense or can't work with the others; undefined when all are well. */
export function findSettingConflict(
  print: PrintSettings,
  support: SupportSettings,
): SettingConflict | undefined {
  return binding<PrintBinding>().findSettingConflict(nativeSettings(print, support));
}

/** What the native side takes, which refuses anything else. */
function nativeSettings(
  print: PrintSettings,
  support: SupportSettings,
): PrintSettings & SupportSettings {
  requireObject(print, 'The print', 'settings such as defaultPrint');
  requireObject(support, 'The support', 'settings such as defaultSupport');
  const { layerHeight, pixelSize, screenWidth, screenHeight, lift } = print;
  const { criticalAngle, inset, supportArea, minimumHeight, minimumSpacing } = support;
  return {
    ...{ layerHeight, pixelSize, screenWidth, screenHeight, lift },
    ...{ criticalAngle, inset, supportArea, minimumHeight, minimumSpacing },
  };
}
