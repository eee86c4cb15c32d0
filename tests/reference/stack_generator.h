#pragma once

#include <cstdint>

#include "reference/stack.h"

namespace stiltforge::reference {

// A small random stack (1 to 96 pixels wide and high, 1 to 8 slices) with random parameters, for
// comparing two implementations. The same seed gives the same stack everywhere. Background is
// exactly 0, 0, 0, 255; material has any red but 0, any green and blue, alpha 255.
Stack generateStack(uint64_t seed);

}  // namespace stiltforge::reference
