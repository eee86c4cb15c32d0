import stiltforge from './index.cjs';

export default stiltforge;
export const { AnalyseSlice, InitAnalyseSlice, GroupToBitmap, CleanPointer, CleanSlicePointer } =
  stiltforge;
