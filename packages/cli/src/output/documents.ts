import type { AnalysisParameters } from 'stiltforge';
import type { MeshReport, PrintSettings, SupportSettings } from 'stiltforge/slicing';
import type { SupportKind } from '../tally.js';

/** A support point in all the coordinates that a reader may want. */
export interface SupportRecord {
  /** Millimetres, in the coordinates of the model. */
  x: number;
  y: number;
  z: number;
  /** Pixel of the screen. */
  column: number;
  row: number;
  layer: number;
  region: number;
  kind: SupportKind;
}

/** Everything that supports.json says; docs/formats.md describes it. */
export interface SupportsDocument {
  generator: string;
  model: {
    file: string;
    /** Millimetres, in the coordinates of the model. */
    min: readonly number[];
    max: readonly number[];
    mesh: Omit<MeshReport, 'bounds'>;
    /** Cubic millimetres of material in the slices. */
    sliceVolume: number;
    warnings: string[];
  };
  print: PrintSettings & {
    layers: number;
    /** The part of the screen that was analysed, pixels. */
    crop: { column: number; row: number; width: number; height: number };
  };
  settings: SupportSettings;
  parameters: AnalysisParameters;
  summary: {
    layers: number;
    regions: number;
    islands: number;
    supportedIslands: number;
    singlePixelIslands: number;
    supports: number;
  };
  supports: SupportRecord[];
}

const schemaVersion = 1;

export function supportsJson(document: SupportsDocument): string {
  const { supports, ...rest } = document;
  const head = JSON.stringify({ schemaVersion, ...rest }, null, 2).slice(0, -'\n}'.length);
  const lines = supports.map((support) => `    ${JSON.stringify(support)}`);
  const list = lines.length === 0 ? '[]' : `[\n${lines.join(',\n')}\n  ]`;
  return `${head},\n  "supports": ${list}\n}\n`;
}

export function pointsCsv(supports: readonly SupportRecord[]): string {
  const rows = supports.map(
    ({ x, y, z, column, row, layer, region, kind }) =>
      `${x},${y},${z},${column},${row},${layer},${region},${kind}`,
  );
  return ['x_mm,y_mm,z_mm,column,row,layer,region,kind', ...rows, ''].join('\n');
}
