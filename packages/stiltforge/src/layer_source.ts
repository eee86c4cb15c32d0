/** A Slicer or a LayerSlicer: its layers are sliced and analysed natively, without becoming pictures. */
export interface LayerSource {
  readonly layerCount: number;
  /** Pixels of the layers, which must be those of the model. */
  readonly width: number;
  readonly height: number;
}

/** Whether it may be a slicer; the native side knows for sure. */
export function isLayerSource(value: unknown): value is LayerSource {
  const source = Object(value) as object;
  return 'layerCount' in source && !(Symbol.iterator in source || Symbol.asyncIterator in source);
}
