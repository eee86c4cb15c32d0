#pragma once

#include <vector>

#include "slicing/triangle_mesh.h"
#include "slicing/vector.h"

namespace stiltforge::scaffold {

/// A level ring of a support.
struct Ring {
  slicing::Vector centre;
  double radius;
};

/// The closed surface around rings that lie above each other, the lowest first: every slice of it
/// is a polygon of 16 sides. Rings that fall onto the one below in 32 bits are left out. Appends
/// nothing when fewer than two remain.
void appendShell(const std::vector<Ring>& rings, std::vector<slicing::Triangle>& triangles);

}  // namespace stiltforge::scaffold
