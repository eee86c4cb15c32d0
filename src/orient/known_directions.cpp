#include "orient/known_directions.h"

#include <algorithm>
#include <cmath>

namespace stiltforge::orient {

namespace {

// Of the cells in which directions lie: a little more than what is mostApart on the unit sphere.
constexpr double side = 0.018;

}  // namespace

void KnownDirections::add(const Vector& direction) {
  cells_[cellOf(direction)].push_back(direction);
}

bool KnownDirections::hasNear(const Vector& direction, double degrees) const {
  const Cell here = cellOf(direction);
  for (int32_t x = here[0] - 1; x <= here[0] + 1; ++x) {
    for (int32_t y = here[1] - 1; y <= here[1] + 1; ++y) {
      // The cells of a column lie side by side in the map.
      const auto end = cells_.upper_bound({x, y, here[2] + 1});
      for (auto cell = cells_.lower_bound({x, y, here[2] - 1}); cell != end; ++cell) {
        const auto& [place, directions] = *cell;
        if (std::any_of(directions.begin(), directions.end(), [&](const Vector& known) {
              return angleBetween(known, direction) < degrees;
            })) {
          return true;
        }
      }
    }
  }
  return false;
}

KnownDirections::Cell KnownDirections::cellOf(const Vector& direction) {
  const auto cell = [](double along) { return static_cast<int32_t>(std::floor(along / side)); };
  return {cell(direction.x), cell(direction.y), cell(direction.z)};
}

}  // namespace stiltforge::orient
