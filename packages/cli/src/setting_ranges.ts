import { ExitCode, UserError } from './errors.js';
import {
  defaultSupport,
  leastFullOverhang,
  type PrintSettings,
  type SupportSettings,
} from './settings.js';

/** The slicer's longest distances: the reach of a support value and the inset. */
const longestDistance = 4096; // pixels

/**
 * A region gets no support at all when it is owed more of them than it has overhanging pixels. With
 * smaller supports that befalls whole overhangs, so that less area gave fewer supports.
 */
const leastSupportArea = 16; // pixels

/** Beyond it every region of the largest screen is held by one support. */
const mostSupportArea = 2 ** 32; // pixels

/**
 * Throws a UserError that names the option and its range when settings can't work with each other.
 * Each is a positive number by itself.
 */
export function checkSettings(print: PrintSettings, support: SupportSettings): void {
  const { layerHeight, pixelSize } = print;
  const { criticalAngle, inset, supportArea } = support;
  const pixel = `at a pixel size of ${pixelSize} mm`;

  const finestPixel = leastFullOverhang / longestDistance;
  if (pixelSize < finestPixel) {
    refuse('--pixel-size', pixelSize, `it must be at least ${roundedUp(finestPixel)} mm`);
  }

  // The support value falls to 0 at twice the self-supporting reach.
  const longestReach = (longestDistance / 2) * pixelSize;
  const highestLayer = longestReach * Math.tan(radians(criticalAngle));
  if (layerHeight > highestLayer && layerHeight > longestReach) {
    const angle = `a critical angle of ${criticalAngle} degrees`;
    const most = roundedDown(highestLayer);
    refuse('--layer-height', layerHeight, `${pixel} and ${angle} it must be at most ${most} mm`);
  }
  if (layerHeight > highestLayer) {
    const height = `a layer height of ${layerHeight} mm`;
    const least = roundedUp(degrees(Math.atan(layerHeight / longestReach)));
    refuse(
      '--critical-angle',
      criticalAngle,
      `${pixel} and ${height} it must be at least ${least} degrees`,
    );
  }

  const deepestInset = longestDistance * pixelSize;
  if (inset > deepestInset) {
    refuse('--inset', inset, `${pixel} it must be from 0 to ${roundedDown(deepestInset)} mm`);
  }

  const leastArea = leastSupportArea * pixelSize ** 2;
  const mostArea = mostSupportArea * pixelSize ** 2;
  if (supportArea < leastArea * (1 - slack) && supportArea === defaultSupport.supportArea) {
    const coarsest = roundedDown(Math.sqrt(supportArea / leastSupportArea));
    refuse(
      '--pixel-size',
      pixelSize,
      `with a support area of ${supportArea} mm2 it must be at most ${coarsest} mm; ` +
        'coarser pixels need a larger --support-area',
    );
  }
  if (supportArea < leastArea * (1 - slack) || supportArea > mostArea) {
    refuse(
      '--support-area',
      supportArea,
      `${pixel} it must be from ${roundedUp(leastArea)} mm2, which is ${leastSupportArea} pixels, ` +
        `to ${roundedDown(mostArea)} mm2`,
    );
  }
}

/** An area of exactly so many pixels must not fail by the rounding of its digits. */
const slack = 1e-9;

function refuse(option: string, value: number, sentence: string): never {
  throw new UserError(ExitCode.usage, `${option} ${value}: ${sentence}.`);
}

function radians(angle: number): number {
  return (angle * Math.PI) / 180;
}

function degrees(angle: number): number {
  return (angle * 180) / Math.PI;
}

function roundedUp(bound: number): string {
  return rounded(bound, (steps) => Math.ceil(steps - slack));
}

function roundedDown(bound: number): string {
  return rounded(bound, (steps) => Math.floor(steps + slack));
}

/** Three digits, rounded into the range whose bound it is. */
function rounded(bound: number, round: (steps: number) => number): string {
  const step = 10 ** (Math.floor(Math.log10(bound)) - 2);
  return Number((round(bound / step) * step).toPrecision(3)).toLocaleString('en-US', {
    maximumSignificantDigits: 3,
  });
}
