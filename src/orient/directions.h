#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "slicing/vector.h"

namespace stiltforge::orient {

using slicing::Vector;

Vector normalized(const Vector& v);
/// Degrees between two directions of length 1, 0 to 180.
double angleBetween(const Vector& a, const Vector& b);

/// `count` directions spread evenly over the sphere: a Fibonacci lattice (R. Swinbank and R. J.
/// Purser, "Fibonacci grids", 2006).
std::vector<Vector> sphereLattice(std::size_t count);

/// `count` directions at that angle, degrees, from one of length 1, evenly around it.
std::vector<Vector> ringAround(const Vector& centre, double degrees, std::size_t count);

/// The outward normals of the flat sides on which the mesh can stand, the largest first, no more
/// than `most`: triangles that share a plane with no part of the mesh beyond it.
std::vector<Vector> flatSides(std::span<const float> positions, std::size_t most);

}  // namespace stiltforge::orient
