#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/plane.h"

namespace stiltforge {

/// The cone that a ghost support spreads over the pixels around it: 255 on it, 0 at and beyond a
/// radius, in whole steps.
class GhostSpread {
 public:
  /// Largest radius, pixels: the table takes 64 MiB.
  static constexpr float maxRadius = 4096.0f;

  /// Takes the memory for a radius of the table, and writes none of it. A radius that is not above
  /// 0 spreads nothing. Throws std::length_error beyond maxRadius, std::bad_alloc.
  explicit GhostSpread(float radius = 0.0f);

  /// Fills the table unless that is done, rows in parallel; before it nothing may be read.
  void create();

  float radius() const { return radius_; }
  /// Rows and columns of the table: the number of whole i >= 0 with i < 2 * radius.
  uint32_t side() const { return side_; }
  /// Row i of the table, side() numbers.
  const uint8_t* row(uint32_t i) const { return steps_.data() + std::size_t{i} * side_; }
  /// The table in squares of this side, the last ones cut off: none of square (i, j) is above this.
  static constexpr uint32_t squareSide = 16;
  uint8_t mostInSquare(uint32_t i, uint32_t j) const {
    return squares_[std::size_t{i} * squaresAcross() + j];
  }

  /// Entry k, row by row, of the cone that the table's steps are cut from: not rounded.
  float weight(std::size_t k) const;

 private:
  uint32_t squaresAcross() const { return (side_ + squareSide - 1) / squareSide; }

  float radius_;
  uint32_t side_;
  Plane<uint8_t> steps_;
  Plane<uint8_t> squares_;
  bool created_ = false;
};

}  // namespace stiltforge
