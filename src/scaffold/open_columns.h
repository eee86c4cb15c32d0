#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "scaffold/triangle_distance.h"

namespace stiltforge::scaffold {

/// Tells for each place how high an upright pillar from the plate may rise before it meets the
/// part: a map of squares of about a quarter of a millimetre, which never promises too much.
class OpenColumns {
 public:
  OpenColumns(std::span<const Triangle> part, const slicing::Bounds& bounds);

  /// A pillar's radius with its clearance, mm.
  class ForRadius {
   public:
    ForRadius(const OpenColumns& columns, double radius);

    /// z of the part's lowest place that is nearer than the radius to the upright line through
    /// (x, y), or less; infinity where there is none.
    double topAt(double x, double y) const;

   private:
    double left_;
    double front_;
    double side_;
    std::ptrdiff_t across_;
    std::ptrdiff_t deep_;
    std::vector<float> lowest_;
  };

 private:
  struct Squares {
    std::ptrdiff_t firstX, lastX, firstY, lastY;
  };

  Squares squaresOf(const Triangle& triangle) const;
  void lower(const Triangle& triangle);

  double left_;
  double front_;
  double side_;  // mm, of a square
  std::ptrdiff_t across_ = 1;
  std::ptrdiff_t deep_ = 1;
  std::vector<float> lowest_;  // z of the part's lowest place in each square, by rows
};

}  // namespace stiltforge::scaffold
