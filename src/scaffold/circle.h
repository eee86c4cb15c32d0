#pragma once

#include <array>
#include <cstddef>

#include "slicing/triangle_mesh.h"

namespace stiltforge::scaffold {

/// Sides of everything round.
inline constexpr std::size_t circleSides = 16;

/// The corner of a circle around (x, y) at that height, counted from the x axis to the y axis.
inline slicing::Vertex circleCorner(double x, double y, double z, double radius, std::size_t i) {
  // Written out: the cosines of one library may differ from those of another.
  constexpr double c1 = 0.92387953251128674;
  constexpr double c2 = 0.70710678118654752;
  constexpr double c3 = 0.38268343236508977;
  constexpr std::array<double, circleSides> cosines{1,  c1,  c2,  c3,  0, -c3, -c2, -c1,
                                                    -1, -c1, -c2, -c3, 0, c3,  c2,  c1};
  const double cosine = cosines.at(i);
  const double sine = cosines.at((i + 12) % circleSides);
  // Adding 0 leaves no -0: equal corners are equal bytes.
  return {static_cast<float>(x + radius * cosine) + 0.0F,
          static_cast<float>(y + radius * sine) + 0.0F, static_cast<float>(z) + 0.0F};
}

}  // namespace stiltforge::scaffold
