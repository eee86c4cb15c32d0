import stiltforge, { type Bytes, CleanPointer, type SliceCallback } from 'stiltforge';

export const callback: SliceCallback = (result) => {
  if (result instanceof Error) throw result;
  const bytes: Bytes | null = result.topPixelBuffer;
  if (bytes !== null) bytes.fill(0);
};
stiltforge.AnalyseSlice(new ArrayBuffer(4), 0, callback);
stiltforge.GroupToBitmap(0, 1, (sample, ghost) => {
  if (sample instanceof Error) throw sample;
  const images: Uint8Array[] = [sample, ghost];
  images.pop();
});
CleanPointer();
