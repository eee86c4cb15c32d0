#pragma once

#include <vector>

#include "digest.h"
#include "reference/analyse_stack.h"

namespace stiltforge::digest {

// Adds all that a host can see of an analysed stack.
void addResults(const std::vector<reference::SliceResult>& results, Digest& digest);

}  // namespace stiltforge::digest
