#pragma once

#include <vector>

#include "digest.h"
#include "reference/analyse_stack.h"
#include "reference/stack.h"

namespace stiltforge::digest {

// Finishes the supports of an analysed stack, judges what is left and adds both. pixelSize,
// layerHeight: mm.
void addFinished(const reference::Stack& stack, const std::vector<reference::SliceResult>& results,
                 double pixelSize, double layerHeight, Digest& digest);

}  // namespace stiltforge::digest
