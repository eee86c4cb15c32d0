import stiltforge = require('stiltforge');

import { AnalyseSlice } from 'stiltforge';
import { Analysis } from 'stiltforge/analysis';

declare const parameters: stiltforge.AnalysisParameters;

stiltforge.InitAnalyseSlice(parameters);
AnalyseSlice(new ArrayBuffer(4), 0, (result) => {
  if (result instanceof Error) throw result;
  const bytes: Uint8Array | null = result.pixelBuffer;
  // @ts-expect-error without the types of Node it is no Buffer
  result.supportedPixels?.readUInt8(0);
  if (bytes !== null) bytes.fill(0);
});
export const analysis: Analysis = Analysis.create(parameters);
