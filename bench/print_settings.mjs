import { analysisParameters, defaultSupport } from 'stiltforge/slicing';

/** How the demo mesh is printed in all benchmarks. */
export const print = { layerHeight: 0.05, pixelSize: 0.035, screenWidth: 3840, screenHeight: 2400 };

/** The parameters that the command would analyse such slices with, but for `changes`. */
export function parametersFor(width, height, layerCount, changes) {
  const slices = { width, height, layerCount };
  return { ...analysisParameters(print, defaultSupport, slices), ...changes };
}
