#pragma once

#include <cmath>

namespace stiltforge {

/// To the nearest whole number, halves upwards.
inline double roundedHalfUp(double value) {
  const double below = std::floor(value);
  return value - below >= 0.5 ? below + 1 : below;
}

}  // namespace stiltforge
