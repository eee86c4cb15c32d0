import type { AnalysisParameters } from 'stiltforge';
import type { Verdict } from 'stiltforge/analysis';
import type { ScaffoldSettings, Stand } from 'stiltforge/scaffold';
import type { LayerHeights, MeshReport, PrintSettings, SupportSettings } from 'stiltforge/slicing';
import type { DroppedPoint, HeldPoint, SupportKind } from '../held_part.js';
import type { PartOptions } from '../part_options.js';
import type { PlateMove } from '../plate/arrange.js';

/** A pixel of a layer, in all the coordinates that a reader may want. */
export interface PlaceRecord {
  /** Millimetres, in the coordinates of the model. */
  x: number;
  y: number;
  z: number;
  /** Pixel of the screen. */
  column: number;
  row: number;
  layer: number;
}

/** A place of a mesh. */
interface PartPlaceRecord extends PlaceRecord {
  /** Number of its mesh in the plate of the model, from 0; not there without one. */
  part?: number;
}

interface PointRecord extends PartPlaceRecord {
  /** From 1. */
  region: number;
  kind: SupportKind;
}

/** Why there are points in a region: what the analysis knew of it. */
export interface RegionWeights {
  /** mm2 of the region that nothing held: what supports were placed for. */
  owed: number;
  /** Supports that the analysis placed in it. */
  given: number;
  /** What came from below. */
  below: {
    /** mm2 of the region that rest on the layer below. */
    resting: number;
    /** mm2 that the layer below could hold. */
    strength: number;
    /** Supports of lower layers that the region stands on. */
    supports: number;
    /** mm of material below it without a gap. */
    height: number;
  };
}

export interface SupportRecord extends PointRecord, Partial<RegionWeights> {
  reason: HeldPoint['reason'];
  /** Where it stands for others: their numbers among the dropped ones. */
  merged?: number[];
}

export interface DroppedRecord extends PointRecord, Partial<RegionWeights> {
  reason: DroppedPoint['reason'];
  /** Of a merged one: the number of the support that stands for it. */
  into?: number;
}

/** Its place is near its centre. */
export interface IslandRecord extends PartPlaceRecord {
  /** mm2 */
  area: number;
  pixels: number;
  /** Null when nothing takes it soon enough. */
  heldBy: 'support' | 'part' | null;
  /** Number of that support. */
  support?: number;
  /** Layer in which it is taken. */
  heldFrom?: number;
  hasRoom: boolean;
  isSealed: boolean;
}

/** What stiltforge/analysis says of it, but for the islands, with places of the model. */
export interface VerdictRecord extends Omit<Verdict, 'points' | 'islands' | 'worst'> {
  /** Worst first; mm to the nearest support, null without any. */
  worst: (PlaceRecord & { distance: number | null })[];
}

/** The supports that were built as geometry. */
export interface ScaffoldRecord extends Required<ScaffoldSettings> {
  /** The part was written with them, too. */
  merged: boolean;
  built: number;
  /** How many of them stand on what. */
  stands: Record<Stand, number>;
  /** Rods between pillars. */
  braces: number;
  /** Those whose slender pillar has none: their numbers among the supports. */
  alone: number[];
  /** Those that were not: their numbers among the supports, and why. */
  leftOut: { support: number; reason: 'tooLow' | 'noWay' }[];
}

/** Everything that supports.json says; docs/formats.md describes it. */
export interface SupportsDocument {
  generator: string;
  model: {
    file: string;
    /** What the command's options did to the mesh of the file, where that is known. */
    placement?: PartOptions;
    /** Of a plate that was put together of meshes: where each of them stands. */
    plate?: readonly PlateMove[];
    /** Millimetres, in the coordinates of the model, or of the plate. */
    min: readonly number[];
    max: readonly number[];
    /** Of a part that was read as a mesh. */
    mesh?: Omit<MeshReport, 'bounds'>;
    /** Of a part that was read as layers: what its file says, empty where it does not. */
    layers?: { format: string; printer: string; material: string };
    /** Cubic millimetres of material in the slices. */
    sliceVolume: number;
    warnings: string[];
  };
  print: PrintSettings &
    LayerHeights & {
      layers: number;
      /** The part of the screen that was analysed, pixels. */
      crop: { column: number; row: number; width: number; height: number };
    };
  settings: SupportSettings & { asAnalysed: boolean };
  parameters: AnalysisParameters;
  summary: {
    layers: number;
    regions: number;
    islands: number;
    heldIslands: number;
    supports: number;
    /** Of them, those that stand for others, too. */
    merged: number;
    /** Of them, those that finishing placed. */
    added: number;
    dropped: number;
  };
  /** Where supports.stl was written. */
  scaffold?: ScaffoldRecord;
  verdict: VerdictRecord;
  islands: IslandRecord[];
  supports: SupportRecord[];
  dropped: DroppedRecord[];
}

export const schemaVersion = 2;

export function supportsJson(document: SupportsDocument): string {
  const { islands, supports, dropped, ...rest } = document;
  const head = JSON.stringify({ schemaVersion, ...rest }, null, 2).slice(0, -'\n}'.length);
  const lists = Object.entries({ islands, supports, dropped }).map(
    ([name, records]) => `  "${name}": ${linePerRecord(records)}`,
  );
  return `${[head, ...lists].join(',\n')}\n}\n`;
}

function linePerRecord(records: readonly object[]): string {
  const lines = records.map((record) => `    ${JSON.stringify(record)}`);
  return lines.length === 0 ? '[]' : `[\n${lines.join(',\n')}\n  ]`;
}

export function pointsCsv(supports: readonly SupportRecord[]): string {
  const isOfPlate = supports.some(({ part }) => part !== undefined);
  const rows = supports.map(
    ({ x, y, z, column, row, layer, region, kind, reason, part }) =>
      `${x},${y},${z},${column},${row},${layer},${region},${kind},${reason}${isOfPlate ? `,${part}` : ''}`,
  );
  const names = `x_mm,y_mm,z_mm,column,row,layer,region,kind,reason${isOfPlate ? ',part' : ''}`;
  return [names, ...rows, ''].join('\n');
}
