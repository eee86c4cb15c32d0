#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Where a 3MF puts an object: a row (x, y, z, 1) times a matrix of four rows and three columns.
struct Transform {
  std::array<double, 12> rows{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};

  /// From its twelve numbers, row by row, the move in units of `millimetres`. Nothing when they are
  /// not twelve finite numbers.
  static std::optional<Transform> parse(std::string_view text, double millimetres);

  double determinant() const;
  /// This transform and then another.
  Transform then(const Transform& next) const;
  Corner apply(const Corner& corner) const;
};

}  // namespace stiltforge::mesh
