#pragma once

#include "analysis/layer.h"
#include "analysis/settings.h"

namespace stiltforge {

/// Makes the placeholder and layer.groupCount groups from the labelled runs: their pixel counts,
/// boxes and blue counts, and layer.pixelCount.
void countGroups(Layer& layer, const Settings& settings);

}  // namespace stiltforge
