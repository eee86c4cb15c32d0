#pragma once

#include "analysis/layer.h"

namespace stiltforge {

/// Reads layer.pixelBuffer once, rows in parallel: fills runs and rowRuns, and writes the blue and
/// green bytes of the material into supportedPixels and strokePixels (both width * height). With
/// `clearBackground` the rest of supportedPixels becomes 0.
void extractRuns(Layer& layer, bool clearBackground);

}  // namespace stiltforge
