#pragma once

#include <vector>

#include "hold/place.h"
#include "hold/surroundings.h"

namespace stiltforge::hold {

/// Appends the islands that begin in the layer last added, in the order of their first pixels.
void findIslands(const Surroundings& layer, std::vector<Island>& islands);

}  // namespace stiltforge::hold
