/** How much it matters: the print may fail, somebody should look, good to know. */
export type Weight = 'fault' | 'warning' | 'note';

export interface Place {
  layer: number;
  /** Pixel of the screen; none for a whole layer. */
  column?: number;
  row?: number;
}

export interface Finding {
  weight: Weight;
  title: string;
  detail: string;
  /** Where to look, bottom up. */
  places: readonly Place[];
}
