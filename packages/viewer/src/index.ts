export type {
  CheckFinding,
  CheckRecord,
  DroppedRecord,
  IslandRecord,
  LayerColumns,
  PackedPart,
  PartDocument,
  PixelGrid,
  PointRecord,
  ScaffoldIndex,
  VerdictRecord,
  ViewerDocument,
} from './document.js';
export { decodeMesh, type GridMesh } from './mesh_codec.js';
export { type PackOptions, type PartSource, packPart, type ScaffoldSource } from './pack.js';
export { reportHtml } from './report_html.js';
export { decodeSlice, type LabelledRuns, type ViewerSlice } from './slice_codec.js';
