#pragma once

#include "analysis/run_labelling.h"
#include "core/drawing.h"

namespace stiltforge {

// Takes a drawn slice through the first two steps of segmentation: its runs, and their groups.
inline Layer labelled(const Picture& picture) {
  Layer layer(sliceOf(picture));
  layer.groupCount = labelRuns(layer);
  return layer;
}

}  // namespace stiltforge
