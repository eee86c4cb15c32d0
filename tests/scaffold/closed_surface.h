#pragma once

#include <span>

#include "slicing/triangle_mesh.h"

namespace stiltforge::scaffold {

/// Whether each edge belongs to exactly two triangles, which agree about what is outside.
bool isClosed(std::span<const slicing::Triangle> surface);

/// mm3, positive where triangles are seen counter-clockwise from outside.
double volumeOf(std::span<const slicing::Triangle> surface);

}  // namespace stiltforge::scaffold
