import type { LayerTally } from '../tally.js';

/**
 * The layers that tell most about where supports went, at most `count`, from the bottom up: those with
 * most islands and new supports, no two close together.
 */
export function tellingLayers(layers: readonly LayerTally[], count: number): number[] {
  const apart = layers.length / (4 * count);
  const weight = ({ supports, islands }: LayerTally): number => supports + 2 * islands.length;
  const ranked = layers
    .map((_, index) => index)
    .filter((index) => layers[index].supports > 0)
    .sort((a, b) => weight(layers[b]) - weight(layers[a]) || a - b);
  const chosen: number[] = [];
  for (const index of ranked) {
    if (chosen.length === count) break;
    if (chosen.every((other) => Math.abs(other - index) >= apart)) chosen.push(index);
  }
  return chosen.sort((a, b) => a - b);
}
