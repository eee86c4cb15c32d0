#pragma once

#include "scaffold/settings.h"
#include "scaffold/triangle_index.h"

namespace stiltforge::scaffold {

/// Where a tip touches the part.
struct Contact {
  Vector point{};
  Vector outward{};        ///< of length 1 and down, or level at most: off the surface
  double penetration = 0;  ///< mm upright by which the tip may reach into the part
};

/// The surface at a support point: x and y of the middle of its pixel, z of the lower face of its
/// layer. Where the mesh has none there, as slices close gaps in it, the point itself.
Contact contactAt(const Vector& point, const TriangleIndex& part, const Settings& settings);

}  // namespace stiltforge::scaffold
