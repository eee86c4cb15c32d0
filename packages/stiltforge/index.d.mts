import stiltforge from './index.cjs';

export default stiltforge;
export declare const AnalyseSlice: typeof stiltforge.AnalyseSlice;
export declare const InitAnalyseSlice: typeof stiltforge.InitAnalyseSlice;
export declare const GroupToBitmap: typeof stiltforge.GroupToBitmap;
export declare const CleanPointer: typeof stiltforge.CleanPointer;
export declare const CleanSlicePointer: typeof stiltforge.CleanSlicePointer;
export type AnalysisParameters = stiltforge.AnalysisParameters;
export type Bytes = stiltforge.Bytes;
export type Support = stiltforge.Support;
export type Group = stiltforge.Group;
export type Layer = stiltforge.Layer;
export type SliceResult = stiltforge.SliceResult;
export type SliceCallback = stiltforge.SliceCallback;
export type GroupCallback = stiltforge.GroupCallback;
