#pragma once

#include "analysis/layer.h"

namespace stiltforge {

/// Makes the placeholder and layer.groupCount groups from the labelled runs: their pixel counts,
/// boxes and blue counts, and layer.pixelCount.
void countGroups(Layer& layer);

}  // namespace stiltforge
