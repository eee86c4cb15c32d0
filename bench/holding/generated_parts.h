#pragma once

#include <vector>

#include "part.h"

namespace stiltforge::bench {

// Parts of each kind that a set of supports easily gets wrong: flat and round undersides, specks
// that grow together, tips, blades, lattices, voids, and an organic body with fine detail. All but
// the box stand free above the plate.
std::vector<Part> generatedParts();

}  // namespace stiltforge::bench
