// From a mesh to its supports and their files, for any program: all that this reaches runs in browsers, too.

export { codeOf, ExitCode, messageOf, UserError } from './errors.js';
export type { Host } from './host.js';
export { isLackOfMemory, outOfMemory } from './memory.js';
export { loadMesh } from './mesh/load.js';
export {
  copiesRule,
  distanceRule,
  type NumberRule,
  pixelsRule,
  positiveRule,
  signedNumberFrom,
  slopeRule,
  turnRule,
} from './number_rules.js';
export {
  findOrientations,
  type OrientationSearch,
  orientedStl,
} from './orient/find_orientations.js';
export { type Direction, preferences, preferredWeight, sides } from './orient/preferred.js';
export {
  type OrientationRow,
  orientationColumns,
  orientationRows,
  orientationsJson,
  roundedTurn,
} from './orient/ranking.js';
export { pointsCsv, type SupportsDocument, supportsJson } from './output/documents.js';
export { formatFiles, mergedFile } from './output/formats.js';
export { packedPrint } from './output/packed_print.js';
export { packedReport } from './output/packed_report.js';
export { reportName } from './output/report_name.js';
export { partWithSupportsStl, supportsStl } from './output/supports_stl.js';
export { threeMfProject } from './output/three_mf.js';
export type { PartOptions } from './part_options.js';
export { placedMesh, placementOf } from './placement.js';
export { usualGap } from './plate/arrange.js';
export { type PlateOptions, partOfMeshes, type ReadMesh } from './plate/part_of_meshes.js';
export { resins, screens } from './presets/presets.js';
export { asUserError, openPrint } from './printed_file.js';
export { checkScaffold } from './scaffold/setting_ranges.js';
export { type BuiltPart, buildSupports } from './scaffold/supports_geometry.js';
export { checkSettings } from './setting_ranges.js';
export { analysePart, type PartJob, preparePart, type SupportedPart } from './supported_part.js';
export { analyseLayers, preparePrint, type SupportedPrint } from './supported_print.js';
export { units } from './units.js';
