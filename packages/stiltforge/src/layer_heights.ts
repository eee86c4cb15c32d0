/** How high the layers of a print are. */
export interface LayerHeights {
  /** mm */
  layerHeight: number;
  /** mm, of the layer on the plate; as the others unless set. */
  firstLayerHeight?: number;
}

/**
 * mm above the plate: the lower face of a layer, counted from 0. Its upper face is that of the next; a
 * fraction stands for a place within the layer.
 */
export function bottomOfLayer(
  { layerHeight, firstLayerHeight = layerHeight }: LayerHeights,
  layer: number,
): number {
  return layer * layerHeight + Math.min(layer, 1) * (firstLayerHeight - layerHeight);
}
