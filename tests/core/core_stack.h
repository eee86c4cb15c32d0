#pragma once

#include <map>
#include <string>
#include <vector>

#include "reference/analyse_stack.h"
#include "reference/stack.h"

namespace stiltforge {

// Sets the static settings of the stages from host parameters and rebuilds the ghost spread table.
void applyParameters(const std::map<std::string, double>& parameters);

// Runs a stack through the pipeline as the addon does and gives all that a host could see, in the
// form of the plain version; without buffers the slices' three are left empty. Images are rendered
// after the last slice.
std::vector<reference::SliceResult> analyseWithCore(const reference::Stack& stack,
                                                    bool needBuffer = true);

// The first difference between two results in words; empty when they agree to the bit.
std::string firstDifference(const std::vector<reference::SliceResult>& actual,
                            const std::vector<reference::SliceResult>& expected);

}  // namespace stiltforge
