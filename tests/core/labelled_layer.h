#pragma once

#include "analysis/run_extraction.h"
#include "analysis/run_labelling.h"
#include "core/drawing.h"

namespace stiltforge {

// Takes a drawn layer through the first two steps of segmentation: its runs, and their groups.
inline Layer labelled(Layer layer) {
  layer.supportedPixels = Plane<uint8_t>(layer.pixelBuffer.size());
  layer.strokePixels = Plane<uint8_t>(layer.pixelBuffer.size());
  extractRuns(layer, false);
  layer.groupCount = labelRuns(layer);
  return layer;
}

}  // namespace stiltforge
