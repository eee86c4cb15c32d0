#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "hold/place.h"

namespace stiltforge::hold {

/// Distances between pixels of layers, mm, between their centres: the same on every platform.
struct Scale {
  double pixelSize = 0;
  double layerHeight = 0;

  double squaredDistance(const Place& a, const Place& b) const {
    return squared(int64_t{a.x} - b.x, int64_t{a.y} - b.y, int64_t{a.layer} - b.layer);
  }
  double squared(int64_t columns, int64_t rows, int64_t layers) const {
    return static_cast<double>(columns * columns + rows * rows) * (pixelSize * pixelSize) +
           static_cast<double>(layers * layers) * (layerHeight * layerHeight);
  }
};

/// Places that are searched for by where they are; named by the order in which they were added.
class PointGrid {
 public:
  /// cellSize: mm, about the distance that is searched.
  PointGrid(const Scale& scale, double cellSize, uint16_t width, uint16_t height);

  void add(const Place& place);
  std::size_t size() const { return places_.size(); }
  const Place& operator[](uint32_t point) const { return places_[point]; }

  /// Calls fn(point) for every point that may lie within `reach` mm of a pixel of columns
  /// [begin, end) of the row: for all that do, and some more.
  template <class Fn>
  void forEachNear(Run run, int y, uint32_t layer, double reach, Fn&& fn) const {
    const double pixels = reach / scale_.pixelSize;
    const int left = cellOf(run.begin - pixels, columns_);
    const int right = cellOf(run.end + pixels, columns_);
    const int bottom = cellOf(y + pixels, rows_);
    const double layers = reach / scale_.layerHeight + 1;
    for (int row = cellOf(y - pixels, rows_); row <= bottom; ++row) {
      for (int column = left; column <= right; ++column) {
        const std::vector<uint32_t>& cell =
            cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                   static_cast<std::size_t>(column)];
        for (const uint32_t point : cell) {
          const int64_t apart = std::abs(int64_t{places_[point].layer} - layer);
          if (static_cast<double>(apart) <= layers) fn(point);
        }
      }
    }
  }

  struct Nearest {
    uint32_t point = Place::none;  ///< the first of equally near ones; none where there is none
    double squaredDistance = std::numeric_limits<double>::infinity();
  };
  Nearest nearestTo(const Place& place) const;

  /// Appends the columns of the run whose pixels lie within `reach` mm of a point, as runs in any
  /// order.
  void findWithin(Run run, int y, uint32_t layer, double reach, std::vector<Run>& within) const;

 private:
  int cellOf(double pixels, int count) const {
    return static_cast<int>(std::clamp(pixels / cellPixels_, 0.0, count - 1.0));
  }

  Scale scale_;
  double cellPixels_;
  int columns_;
  int rows_;
  std::vector<Place> places_;
  std::vector<std::vector<uint32_t>> cells_;
};

}  // namespace stiltforge::hold
