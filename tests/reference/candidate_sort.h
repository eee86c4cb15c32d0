#pragma once

#include <vector>

#include "reference/slice_model.h"

namespace stiltforge::reference {

// Sorts candidates by ascending score. Equal scores come out in the order of libstdc++'s
// introspective sort, which is the documented one.
void sortCandidates(std::vector<Voxel*>& candidates);

}  // namespace stiltforge::reference
