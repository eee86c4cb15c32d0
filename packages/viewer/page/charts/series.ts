import type { ViewedPart } from '../part.js';
import { area, counted, figure, largest } from '../words.js';

/** One chart over the layers. */
export interface Series {
  name: string;
  /** How it is drawn: as bars of two kinds, as a filled curve, as steps, or as a curve and bars. */
  form: 'bars' | 'filled' | 'steps' | 'pair';
  /** One number a layer; of `bars` and `pair` there are two such lists. */
  values: readonly (readonly number[])[];
  /** What a person reads for one layer, and for the largest value. */
  tell(layer: number): string;
  most: string;
}

/** The charts of a part, those first that say most. */
export function seriesOf(part: ViewedPart): Series[] {
  const { layers } = part.document;
  const ofKind = (kind: string): number[] =>
    part.pointsOfLayer.map(
      (points) => points.filter((index) => part.points[index].kind === kind).length,
    );
  const islands = ofKind('island');
  const overhangs = ofKind('overhang');
  const mostPoints = largest(part.pointsOfLayer.map(({ length }) => length));
  const series: Series[] = [
    {
      name: 'New points',
      form: 'bars',
      values: [overhangs, islands],
      tell: (layer) => {
        const [all, alone] = [overhangs[layer] + islands[layer], islands[layer]];
        if (alone === 0) return `${all}`;
        return alone === all ? `${all} under islands` : `${all}, ${alone} under islands`;
      },
      most: `${mostPoints}`,
    },
    {
      name: 'Overhang',
      form: 'filled',
      values: [layers.overhang],
      tell: (layer) => area(layers.overhang[layer]),
      most: area(largest(layers.overhang)),
    },
    {
      name: 'Regions',
      form: 'steps',
      values: [layers.regions],
      tell: (layer) => {
        const alone = part.islandsOfLayer[layer].size;
        const told = `${layers.regions[layer]}`;
        return alone === 0 ? told : `${told}, ${counted(alone, 'island')}`;
      },
      most: `${largest(layers.regions)}`,
    },
  ];
  const { owed, given } = layers;
  if (owed !== undefined && given !== undefined) {
    series.push({
      name: 'Strength in mm²',
      form: 'pair',
      values: [owed, given],
      tell: (layer) => `${figure(owed[layer])} owed, ${figure(given[layer])} given`,
      most: area(Math.max(largest(owed), largest(given))),
    });
  }
  return series;
}
