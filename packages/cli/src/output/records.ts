import type { RegionRecord, Surface, Verdict } from 'stiltforge/analysis';
import {
  bottomOfLayer,
  type LayerHeights,
  type PrintSettings,
  type Slicer,
} from 'stiltforge/slicing';
import { type HeldPart, isAdded, type SlicePoint } from '../held_part.js';
import type { PlateMove } from '../plate/arrange.js';
import { whoseOf } from '../plate/whose.js';
import type { Tally } from '../tally.js';
import type {
  DroppedRecord,
  IslandRecord,
  PlaceRecord,
  RegionWeights,
  SupportRecord,
  SupportsDocument,
  VerdictRecord,
} from './documents.js';

/** Where the pixels of the slices are. */
export interface Places {
  /** Column and row of the screen that the slices start with. */
  cropX: number;
  cropY: number;
  /** mm, of the plate. */
  plateZ: number;
  /** mm, of the middle of a pixel of the screen. */
  placeOf(column: number, row: number): { x: number; y: number };
  /** The mesh of a plate, from 0, to which a place in mm belongs. */
  partAt?(x: number, y: number): number;
}

/** In the coordinates of the mesh. */
export function meshPlaces(
  { pixelSize }: PrintSettings,
  slicer: Slicer,
  plate?: readonly PlateMove[],
): Places {
  return {
    ...(plate && { partAt: whoseOf(plate) }),
    cropX: slicer.cropX,
    cropY: slicer.cropY,
    plateZ: slicer.plateZ,
    placeOf: (column, row) => ({
      x: slicer.originX + (column + 0.5) * pixelSize,
      y: slicer.originY - (row + 0.5) * pixelSize,
    }),
  };
}

/** Turns pixels and layers of the slices into what the outputs say. */
export class Records {
  constructor(
    private readonly print: PrintSettings & LayerHeights,
    private readonly places: Places,
  ) {}

  /** All that a document says of the points of a part and of what they hold. */
  ofPart(
    part: HeldPart,
    tally: Tally,
  ): Pick<SupportsDocument, 'summary' | 'verdict' | 'islands' | 'supports' | 'dropped'> {
    const { islands } = part.verdict;
    const supports = this.supports(part);
    return {
      summary: {
        layers: tally.layers.length,
        regions: tally.regions,
        islands: islands.length,
        heldIslands: islands.filter(({ heldBy }) => heldBy !== null).length,
        supports: supports.length,
        merged: supports.filter(({ reason }) => reason === 'merged').length,
        added: supports.filter(isAdded).length,
        dropped: part.dropped.length,
      },
      verdict: this.verdict(part.verdict),
      islands: this.islands(part.verdict),
      supports,
      dropped: this.dropped(part),
    };
  }

  private supports({ points }: HeldPart): SupportRecord[] {
    return points.map((point) => ({
      ...this.point(point),
      reason: point.reason,
      ...(point.merged.length > 0 ? { merged: point.merged } : {}),
      ...this.weights(point.region),
    }));
  }

  private dropped({ dropped }: HeldPart): DroppedRecord[] {
    return dropped.map((point) => ({
      ...this.point(point),
      reason: point.reason,
      ...(point.into === null ? {} : { into: point.into }),
      ...this.weights(point.region),
    }));
  }

  private islands({ islands }: Verdict): IslandRecord[] {
    return islands.map(({ layer, x, y, pixels, heldBy, point, takenIn, hasRoom, isSealed }) => ({
      ...this.placeInPart(layer, x, y),
      area: this.area(pixels),
      pixels,
      heldBy: heldBy === 'point' ? 'support' : heldBy === 'material' ? 'part' : null,
      ...(point === null ? {} : { support: point }),
      ...(takenIn === null ? {} : { heldFrom: takenIn }),
      hasRoom,
      isSealed,
    }));
  }

  private verdict({ points: _points, islands: _islands, ...verdict }: Verdict): VerdictRecord {
    return {
      ...verdict,
      overhang: surface(verdict.overhang),
      overhangWithoutRoom: surface(verdict.overhangWithoutRoom),
      overhangInSealedVoids: surface(verdict.overhangInSealedVoids),
      worst: verdict.worst.map(({ layer, x, y, distance }) => ({
        ...this.place(layer, x, y),
        distance: Number.isFinite(distance) ? toMicrometre(distance) : null,
      })),
      closePairs: verdict.closePairs.map((pair) => ({
        ...pair,
        distance: toMicrometre(pair.distance),
      })),
    };
  }

  place(layer: number, x: number, y: number): PlaceRecord {
    const { print, places } = this;
    const column = places.cropX + x;
    const row = places.cropY + y;
    const place = places.placeOf(column, row);
    return {
      x: toMicrometre(place.x),
      y: toMicrometre(place.y),
      z: toMicrometre(places.plateZ + bottomOfLayer(print, layer)),
      column,
      row,
      layer,
    };
  }

  private point({ layer, column, row, region, kind }: SlicePoint) {
    return { ...this.placeInPart(layer, column, row), region: region?.region ?? 0, kind };
  }

  private placeInPart(layer: number, x: number, y: number): PlaceRecord & { part?: number } {
    const place = this.place(layer, x, y);
    const { partAt } = this.places;
    return partAt === undefined ? place : { ...place, part: partAt(place.x, place.y) };
  }

  private weights(region: RegionRecord | null): Partial<RegionWeights> {
    if (region === null) return {};
    return {
      owed: this.area(region.owed),
      given: region.supports,
      below: {
        resting: this.area(region.resting),
        strength: this.area(region.fromBelow),
        supports: region.supportsBelow,
        height: toMicrometre(region.layersBelow * this.print.layerHeight),
      },
    };
  }

  /** mm2 */
  private area(pixels: number): number {
    return rounded(pixels * this.print.pixelSize ** 2, 1e4);
  }
}

function surface({ area, beyondNear, beyondFar }: Surface): Surface {
  return {
    area: rounded(area, 1e4),
    beyondNear: rounded(beyondNear, 1e4),
    beyondFar: rounded(beyondFar, 1e4),
  };
}

function toMicrometre(millimetres: number): number {
  return rounded(millimetres, 1000);
}

/** Further digits are only those of binary fractions. */
function rounded(value: number, stepsPerUnit: number): number {
  return Math.round(stepsPerUnit * value) / stepsPerUnit;
}
