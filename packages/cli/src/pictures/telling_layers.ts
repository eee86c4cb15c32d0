/**
 * The layers that tell most about where supports went, at most `count`, from the bottom up: those with
 * most islands and points, placed or left out, no two close together.
 */
export function tellingLayers(
  layers: readonly { points: number; islands: readonly number[] }[],
  count: number,
): number[] {
  const apart = layers.length / (4 * count);
  const weight = (layer: number): number => layers[layer].points + 2 * layers[layer].islands.length;
  const ranked = layers
    .map((_, index) => index)
    .filter((index) => layers[index].points > 0)
    .sort((a, b) => weight(b) - weight(a) || a - b);
  const chosen: number[] = [];
  for (const index of ranked) {
    if (chosen.length === count) break;
    if (chosen.every((other) => Math.abs(other - index) >= apart)) chosen.push(index);
  }
  return chosen.sort((a, b) => a - b);
}
