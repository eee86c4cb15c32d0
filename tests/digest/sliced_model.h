#pragma once

#include <vector>

#include "reference/stack.h"

namespace stiltforge::digest {

// Nine floats a triangle, mm.
std::vector<float> modelMesh();

// A sphere, leaning prisms and hanging tips, cut by the slicer: with small pixels regions large
// enough that their work is spread over the cores, with islands and merging regions. Both lengths
// in mm.
reference::Stack slicedModel(double pixelSize, double layerHeight);

}  // namespace stiltforge::digest
