#pragma once

#include <span>

#include "slicing/triangle_mesh.h"

namespace stiltforge {

// How a part is turned and sized before it is sliced. Positions: nine floats a triangle, x, y, z of
// its three corners.

/// The box around at least one triangle.
slicing::Bounds boundsOf(std::span<const float> positions);

/// Turns a part whose y axis points up about x, so that z does.
void turnYUp(std::span<float> positions);

/// Multiplies all coordinates, each product rounded once. False, and nothing is changed, when the
/// box would have no finite extent above 0 along some axis.
bool scale(std::span<float> positions, double factor);

/// The factor that gives the part this height, mm; not finite for a part without height.
double factorForHeight(std::span<const float> positions, double height);

}  // namespace stiltforge
