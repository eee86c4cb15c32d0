#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "orient/directions.h"

namespace stiltforge::orient {

/// Directions of length 1. How long it takes to find one near another does not depend on how many
/// there are.
class KnownDirections {
 public:
  /// Directions closer than that can be told to be near, degrees.
  static constexpr double mostApart = 1;

  void add(const Vector& direction);
  /// Whether one is less than `degrees` from it, which are at most mostApart.
  bool hasNear(const Vector& direction, double degrees) const;

 private:
  using Cell = std::array<int32_t, 3>;

  static Cell cellOf(const Vector& direction);

  std::map<Cell, std::vector<Vector>> cells_;
};

}  // namespace stiltforge::orient
