#pragma once

#include "core/random.h"
#include "part.h"

namespace stiltforge::hold {

// Blocks that come, grow, shrink and end, some of them hollow, with some noise and points.
Part randomPart(Random& random);

}  // namespace stiltforge::hold
