#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "hold/place.h"
#include "hold/scale.h"

namespace stiltforge::hold {

/// Places that are searched for by where they are; named by the order in which they were added.
class PointGrid {
 public:
  /// cellSize: mm, about the distance that is searched.
  PointGrid(const Scale& scale, double cellSize, uint16_t width, uint16_t height);

  void add(const Place& place);
  /// Moves a point of the grid; it keeps its name.
  void move(uint32_t point, const Place& place);
  std::size_t size() const { return places_.size(); }
  const Place& operator[](uint32_t point) const { return places_[point]; }

  /// Calls fn(point) for every point within `reach` mm of a pixel of columns [begin, end) of the
  /// row.
  template <class Fn>
  void forEachNear(Run run, int y, uint32_t layer, double reach, Fn&& fn) const {
    anyNear(run, y, layer, reach, [&](uint32_t point) {
      fn(point);
      return false;
    });
  }
  /// The same until fn(point) returns true; returns whether it did.
  template <class Fn>
  bool anyNear(Run run, int y, uint32_t layer, double reach, Fn&& fn) const {
    const double pixels = reach / scale_.pixelSize;
    const int left = cellOf(run.begin - pixels, columns_);
    const int right = cellOf(run.end + pixels, columns_);
    const int bottom = cellOf(y + pixels, rows_);
    const Box searched{{run.begin, y, layer}, {run.end - 1, y, layer}};
    for (int row = cellOf(y - pixels, rows_); row <= bottom; ++row) {
      for (int column = left; column <= right; ++column) {
        for (const Block& block : cells_[cellAt(row, column)]) {
          if (squaredDistance(searched, block.box) > reach * reach) continue;
          for (std::size_t i = 0; i < block.size; ++i) {
            const Corner& at = block.at[i];
            if (squaredDistance(searched, {at, at}) > reach * reach) continue;
            if (fn(block.point[i])) return true;
          }
        }
      }
    }
    return false;
  }

  /// Both again, around the pixel of a place.
  template <class Fn>
  void forEachNear(const Place& place, double reach, Fn&& fn) const {
    forEachNear(pixelOf(place), place.y, place.layer, reach, fn);
  }
  template <class Fn>
  bool anyNear(const Place& place, double reach, Fn&& fn) const {
    return anyNear(pixelOf(place), place.y, place.layer, reach, fn);
  }

  struct Nearest {
    uint32_t point = Place::none;  ///< the first of equally near ones; none where there is none
    double squaredDistance = std::numeric_limits<double>::infinity();

    void offer(uint32_t other, double squared) {
      if (squared > squaredDistance || (squared == squaredDistance && other > point)) return;
      point = other;
      squaredDistance = squared;
    }
  };
  /// Found sooner where the guessed point is not much further away; none for no guess.
  Nearest nearestTo(const Place& place, uint32_t guess) const;

  /// Whether all pixels of the run lie within `reach` mm of the point.
  bool reachesAll(uint32_t point, Run run, int y, uint32_t layer, double reach) const {
    const Place& p = places_[point];
    const int64_t rows = int64_t{p.y} - y;
    const int64_t layers = int64_t{p.layer} - layer;
    const int64_t columns = std::max(p.x - run.begin, run.end - 1 - p.x);
    return scale_.squared(columns, rows, layers) <= reach * reach;
  }

  /// The columns of the run whose pixels lie within `reach` mm of a point that is near the run.
  Run reachedBy(uint32_t point, Run run, int y, uint32_t layer, double reach) const;

 private:
  static Run pixelOf(const Place& place) { return {place.x, static_cast<uint16_t>(place.x + 1)}; }

  struct Corner {
    int32_t x = 0;
    int32_t y = 0;
    int64_t layer = 0;
  };
  // Both corners belong to it.
  struct Box {
    Corner low;
    Corner high;
  };
  double squaredDistance(const Box& a, const Box& b) const {
    const int64_t columns = std::max({b.low.x - a.high.x, a.low.x - b.high.x, 0});
    const int64_t rows = std::max({b.low.y - a.high.y, a.low.y - b.high.y, 0});
    const int64_t layers =
        std::max({b.low.layer - a.high.layer, a.low.layer - b.high.layer, int64_t{0}});
    return scale_.squared(columns, rows, layers);
  }

  // Some points of a cell that were added one after the other, and the box around them: what lies
  // in other layers or rows is passed over at once.
  struct Block {
    static constexpr std::size_t room = 16;

    Box box;
    std::size_t size = 0;
    std::array<Corner, room> at{};
    std::array<uint32_t, room> point{};
  };

  std::size_t cellAt(int row, int column) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
           static_cast<std::size_t>(column);
  }
  std::vector<Block>& cellAt(const Place& place) {
    return cells_[cellAt(cellOf(place.y, rows_), cellOf(place.x, columns_))];
  }
  void enter(uint32_t point, const Place& place);
  int cellOf(double pixels, int count) const {
    return static_cast<int>(std::clamp(pixels / cellPixels_, 0.0, count - 1.0));
  }

  Scale scale_;
  double cellPixels_;
  int columns_;
  int rows_;
  std::vector<Place> places_;
  std::vector<std::vector<Block>> cells_;
};

}  // namespace stiltforge::hold
