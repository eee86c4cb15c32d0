#pragma once

#include <string>
#include <vector>

#include "model/parameters.h"
#include "reference/analyse_stack.h"
#include "reference/stack.h"

namespace stiltforge {

// The parameters of a stack as the host's numbers are stored.
ModelParameters parametersOf(const reference::Stack& stack);

// Runs a stack through a model as the addon does and gives all that a host could see, in the
// form of the plain version; without buffers the slices' three are left empty. Images are rendered
// after the last slice.
std::vector<reference::SliceResult> analyseWithCore(const reference::Stack& stack,
                                                    bool needBuffer = true);

// The first difference between two results in words; empty when they agree to the bit.
std::string firstDifference(const std::vector<reference::SliceResult>& actual,
                            const std::vector<reference::SliceResult>& expected);

}  // namespace stiltforge
