#include "print/part_transform.h"

#include <cmath>
#include <cstddef>

namespace stiltforge {

namespace {

float product(float value, double factor) {
  return static_cast<float>(static_cast<double>(value) * factor);
}

bool isExtent(float from, float to) {
  const double length = static_cast<double>(to) - static_cast<double>(from);
  return std::isfinite(length) && length > 0;
}

}  // namespace

slicing::Bounds boundsOf(std::span<const float> positions) {
  const auto corner = [&](std::size_t i) {
    return slicing::Vertex{positions[i], positions[i + 1], positions[i + 2]};
  };
  slicing::Bounds bounds{corner(0), corner(0)};
  for (std::size_t i = 3; i < positions.size(); i += 3) bounds.extend(corner(i));
  return bounds;
}

void turnYUp(std::span<float> positions) {
  for (std::size_t i = 0; i < positions.size(); i += 3) {
    const float y = positions[i + 1];
    positions[i + 1] = -positions[i + 2];
    positions[i + 2] = y;
  }
}

bool scale(std::span<float> positions, double factor) {
  const slicing::Bounds bounds = boundsOf(positions);
  for (const auto axis : {&slicing::Vertex::x, &slicing::Vertex::y, &slicing::Vertex::z}) {
    if (!isExtent(product(bounds.min.*axis, factor), product(bounds.max.*axis, factor))) {
      return false;
    }
  }
  for (float& value : positions) value = product(value, factor);
  return true;
}

double factorForHeight(std::span<const float> positions, double height) {
  const slicing::Bounds bounds = boundsOf(positions);
  return height / (static_cast<double>(bounds.max.z) - static_cast<double>(bounds.min.z));
}

}  // namespace stiltforge
