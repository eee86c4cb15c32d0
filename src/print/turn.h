#pragma once

#include <array>
#include <span>
#include <vector>

#include "slicing/vector.h"

namespace stiltforge {

/// How a part is turned before it is sliced: degrees about the fixed axes x, then y, then z,
/// counter-clockwise as seen from their positive ends.
struct Turn {
  double x = 0;
  double y = 0;
  double z = 0;

  bool operator==(const Turn&) const = default;
};

/// The turn as a matrix. Quarter turns are exact.
class Rotation {
 public:
  explicit Rotation(const Turn& turn);

  slicing::Vector apply(const slicing::Vector& v) const;
  /// The direction of the part that points to the plate after the turn.
  slicing::Vector down() const { return {-rows_[2][0], -rows_[2][1], -rows_[2][2]}; }

 private:
  std::array<std::array<double, 3>, 3> rows_;
};

/// The turn about x and y, to a thousandth of a degree, after which this direction of the part, of
/// any length above 0, points to the plate.
Turn turnToPlate(const slicing::Vector& direction);

/// Nine floats a triangle, turned about the origin; each coordinate is rounded once. As they are
/// without a turn.
std::vector<float> turned(std::span<const float> positions, const Turn& turn);

}  // namespace stiltforge
