import stiltforge, {
  AnalyseSlice,
  type AnalysisParameters,
  type Group,
  type SliceResult,
} from 'stiltforge';

declare const parameters: AnalysisParameters;

stiltforge.InitAnalyseSlice(parameters);
AnalyseSlice(new ArrayBuffer(4), 0, (result: SliceResult | Error) => {
  if (result instanceof Error) return;
  const groups: Group[] = result.layer.groups;
  const minimum: boolean = groups[0].supports[0].isMinima;
  const bytes: Buffer | null = result.pixelBuffer;
  const supported: Buffer | undefined = result.supportedPixels;
  console.log(minimum, bytes, supported);
});
const failed: number = AnalyseSlice.failedTasks;
stiltforge.GroupToBitmap(0, 1, (sample, ghost, _a, _s, _ss, _su, _st, combined, width, height) => {
  if (sample instanceof Error) return;
  console.log(sample.length, ghost.length, combined.length, width * height, failed);
});
stiltforge.CleanSlicePointer(0);
stiltforge.CleanPointer();

// @ts-expect-error a typed array is not an ArrayBuffer
AnalyseSlice('pixels', 0, () => {});
// @ts-expect-error all 28 keys are required
stiltforge.InitAnalyseSlice({ width: 1, height: 1 });
// @ts-expect-error no sixth function
stiltforge.Analyse;
// @ts-expect-error the count is read only
AnalyseSlice.failedTasks = 1;
