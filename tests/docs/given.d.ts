import type { AnalysisParameters } from 'stiltforge/analysis';
import type { CheckPoint } from 'stiltforge/check';
import type { Slicer, Triangles } from 'stiltforge/slicing';
import type { PartSource } from 'stiltforge-viewer';

declare global {
  const positions: Triangles;
  const slicer: Slicer;
  const slices: ArrayBuffer[];
  const parameters: AnalysisParameters;
  const points: CheckPoint[];
  const part: PartSource['part'];
  const runs: PartSource['runs'];
  /** That a person has chosen. */
  const file: { readonly name: string; arrayBuffer(): Promise<ArrayBuffer> };
  const template: string;
  function showProgress(layer: number): void;
}
