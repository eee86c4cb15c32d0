#include "orient/fitting.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace stiltforge::orient {

namespace {

constexpr std::array<double, 12> spins{0, 90, 15, 165, 30, 150, 45, 135, 60, 120, 75, 105};

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  void extend(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  double length() const { return high - low; }
};

}  // namespace

std::optional<Turn> fitOnScreen(std::span<const float> positions, Turn turn,
                                const PrintSettings& print) {
  const std::vector<float> standing = turned(positions, turn);
  for (const double spin : spins) {
    const Rotation rotation({0, 0, spin});
    Range x;
    Range y;
    for (std::size_t i = 0; i + 2 < standing.size(); i += 3) {
      const slicing::Vector v = rotation.apply({standing[i], standing[i + 1], standing[i + 2]});
      x.extend(v.x);
      y.extend(v.y);
    }
    if (x.length() <= print.screenWidth * print.pixelSize &&
        y.length() <= print.screenHeight * print.pixelSize) {
      turn.z += spin;
      return turn;
    }
  }
  return std::nullopt;
}

}  // namespace stiltforge::orient
