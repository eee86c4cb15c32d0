#pragma once

#include "core/random.h"
#include "stack.h"

namespace stiltforge::check {

// Blocks that come, grow, shrink and end, hollows, layers without material, noise and points.
Stack randomStack(Random& random);

}  // namespace stiltforge::check
