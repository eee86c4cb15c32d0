#pragma once

#include "analysis/layer.h"

namespace stiltforge {

/// Relates the labelled groups of `layer` to those of the layer below by intersecting the two run
/// lists: fills layer.overlaps and, per group, firstOverlap, overlapEntries,
/// supportedPixel and islandDistance.
///
/// Pixels are matched by their index y * width + x, so a layer below of another size is read as the
/// sequence of pixels that it is.
void relateToLayerBelow(Layer& layer, const Layer& below);

}  // namespace stiltforge
