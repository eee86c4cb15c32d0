// With the types of browsers, which come with the compiler.
import { Analysis, type AnalysisParameters } from 'stiltforge/analysis';

export async function analyse(parameters: AnalysisParameters, canvas: OffscreenCanvas) {
  const { signal } = new AbortController();
  const analysis = Analysis.create(parameters);
  const image = canvas.getContext('2d')?.getImageData(0, 0, 8, 6);
  return image && analysis.analyse(image, { signal });
}
