#pragma once

#include "stack.h"

namespace stiltforge::check {

// The same findings voxel by voxel, with nothing carried on from layer to layer.
CheckReport checkPlainly(const Stack& stack, const CheckSettings& settings);

}  // namespace stiltforge::check
