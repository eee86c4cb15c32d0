#pragma once

#include "reference/stack.h"

namespace stiltforge::digest {

// A sphere, leaning prisms and hanging tips, cut by the slicer on 1200 x 800 pixels: regions large
// enough that their work is spread over the cores, with islands and merging regions.
reference::Stack slicedModel();

}  // namespace stiltforge::digest
