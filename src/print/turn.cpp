#include "print/turn.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace stiltforge {

namespace {

struct SineCosine {
  double sine;
  double cosine;
};

SineCosine ofDegrees(double degrees) {
  int quadrant = 0;
  const double rest = std::remquo(degrees, 90, &quadrant);
  const double radians = rest * std::numbers::pi / 180;
  const double sine = std::sin(radians);
  const double cosine = std::cos(radians);
  switch (quadrant & 3) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case 2:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

// No negative zeros, which a person would read as "-0".
double roundedDegrees(double radians) {
  return std::round(radians * 180 / std::numbers::pi * 1000) / 1000 + 0.0;
}

}  // namespace

Rotation::Rotation(const Turn& turn) {
  const auto [sx, cx] = ofDegrees(turn.x);
  const auto [sy, cy] = ofDegrees(turn.y);
  const auto [sz, cz] = ofDegrees(turn.z);
  rows_[0] = {cz * cy, cz * sy * sx - sz * cx, cz * sy * cx + sz * sx};
  rows_[1] = {sz * cy, sz * sy * sx + cz * cx, sz * sy * cx - cz * sx};
  rows_[2] = {-sy, cy * sx, cy * cx};
}

slicing::Vector Rotation::apply(const slicing::Vector& v) const {
  const auto along = [&](const std::array<double, 3>& row) {
    return row[0] * v.x + row[1] * v.y + row[2] * v.z;
  };
  return {along(rows_[0]), along(rows_[1]), along(rows_[2])};
}

Turn turnToPlate(const slicing::Vector& direction) {
  const auto [x, y, z] = direction;
  Turn turn;
  if (y != 0 || z != 0) turn.x = roundedDegrees(std::atan2(-y, -z));
  turn.y = roundedDegrees(std::atan2(x, std::hypot(y, z)));
  return turn;
}

std::vector<float> turned(std::span<const float> positions, const Turn& turn) {
  std::vector<float> result(positions.begin(), positions.end());
  if (turn == Turn{}) return result;
  const Rotation rotation(turn);
  for (std::size_t i = 0; i + 2 < result.size(); i += 3) {
    const slicing::Vector v = rotation.apply({result[i], result[i + 1], result[i + 2]});
    result[i] = static_cast<float>(v.x);
    result[i + 1] = static_cast<float>(v.y);
    result[i + 2] = static_cast<float>(v.z);
  }
  return result;
}

}  // namespace stiltforge
