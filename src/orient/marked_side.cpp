#include "orient/marked_side.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace stiltforge::orient {

namespace {

constexpr double facingCosine = 0.5;

}  // namespace

MarkedSide::MarkedSide(std::span<const float> positions, const Vector& direction,
                       double criticalAngle)
    : leastCosine_(std::cos(criticalAngle * std::numbers::pi / 180)) {
  const Vector facing = normalized(direction);
  const auto corner = [&](std::size_t i) {
    return slicing::Vertex{positions[i], positions[i + 1], positions[i + 2]};
  };
  for (std::size_t i = 0; i + 8 < positions.size(); i += 9) {
    const slicing::Vertex a = corner(i);
    const Vector normal =
        cross(slicing::between(a, corner(i + 3)), slicing::between(a, corner(i + 6)));
    const double length = std::sqrt(dot(normal, normal));
    if (!(length > 0) || dot(normal, facing) <= facingCosine * length) continue;
    patches_.push_back({normalized(normal), length / 2});
  }
}

double MarkedSide::areaFor(const Vector& down) const {
  double area = 0;
  for (const Patch& patch : patches_) {
    if (dot(patch.normal, down) > leastCosine_) area += patch.area;
  }
  return area;
}

}  // namespace stiltforge::orient
