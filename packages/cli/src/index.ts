// The declarations name types of Node, which this package depends on.
/// <reference types="node" preserve="true" />

export type { MeshFile, MeshObject, Triangles } from 'stiltforge/slicing';
export {
  analysisParameters,
  defaultPrint,
  defaultSupport,
  type PrintSettings,
  type SupportSettings,
} from 'stiltforge/slicing';
export { analyseMesh, type Job } from './analyse_mesh.js';
export { analysePrint, type PrintJob } from './analyse_print.js';
export { type CheckedFile, type CheckRun, checkFiles } from './check/check_files.js';
export { type CheckDocument, checkDocument } from './check/document.js';
export { ExitCode, Interrupted, UserError } from './errors.js';
export type { RegionToInspect } from './inspected_regions.js';
export { type Making, predictedMemory } from './memory.js';
export { loadMesh } from './mesh/load.js';
export type {
  DroppedRecord,
  IslandRecord,
  PlaceRecord,
  RegionWeights,
  ScaffoldRecord,
  SupportRecord,
  SupportsDocument,
  VerdictRecord,
} from './output/documents.js';
export { pointsCsv, supportsJson } from './output/documents.js';
export type { ReportedPart } from './output/packed_report.js';
export { reportPage } from './output/report.js';
export { partWithSupportsStl, supportsStl } from './output/supports_stl.js';
export { type ProjectPart, threeMfProject } from './output/three_mf.js';
export { type PlaceOptions, placePrintSupports, placeSupports } from './place_supports.js';
export { type GivenPrint, openPrint, type PrintedFile } from './printed_file.js';
export { noProgress, type Progress } from './progress.js';
export {
  type RegionPictures,
  type RegionPoint,
  regionPictures,
} from './region_pictures.js';
export type { JobWatcher } from './run_into_folder.js';
export {
  type BuiltPart,
  buildSupports,
  type ScaffoldJob,
} from './scaffold/supports_geometry.js';
export type { Summary } from './summary.js';
export type { PartJob, SupportedPart } from './supported_part.js';
export type { LayersJob, SupportedPrint } from './supported_print.js';
export { version } from './version.js';
