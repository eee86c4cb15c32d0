#pragma once

#include <vector>

#include "slicing/triangle_mesh.h"
#include "slicing/vector.h"

namespace stiltforge::scaffold {

/// Appends a closed plate under feet of that radius: the convex hull of their places, with sides
/// that lean outwards by 45 degrees, so that a scraper gets under it. z of the feet does not count.
/// Appends nothing without feet.
void appendRaft(const std::vector<slicing::Vector>& feet, double radius, double bottom, double top,
                std::vector<slicing::Triangle>& triangles);

}  // namespace stiltforge::scaffold
