#pragma once

#include "analysis/layer.h"

namespace stiltforge {

/// Reads layer.pixelBuffer once, rows in parallel: fills runs and rowRuns, and writes the blue and
/// green bytes of the material into supportedPixels and strokePixels (both width * height). With
/// `clearBackground` the rest of supportedPixels becomes 0.
void extractRuns(Layer& layer, bool clearBackground);

/// Whether row y has so many runs that a whole row is cheaper than run by run. Its supportedPixels
/// are defined, 0, over background too.
bool isDenseRow(const Layer& layer, uint32_t y);

}  // namespace stiltforge
