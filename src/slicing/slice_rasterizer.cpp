#include "slicing/slice_rasterizer.h"

#include <algorithm>
#include <utility>

namespace stiltforge::slicing {

namespace {

// Index of the first pixel whose centre is at or beyond the coordinate, clamped to [0, limit].
int firstCentreFrom(double coordinate, int limit) {
  const double shifted = coordinate - 0.5;
  if (!(shifted > 0)) return 0;
  if (shifted >= limit) return limit;
  const int whole = static_cast<int>(shifted);
  return whole + (shifted > whole ? 1 : 0);
}

}  // namespace

SliceRasterizer::SliceRasterizer(int width, int height) : width_(width), height_(height) {}

void SliceRasterizer::rasterize(const std::vector<Segment>& contours, RunRows& material) {
  found_.clear();
  rowStart_.assign(static_cast<std::size_t>(height_) + 1, 0);
  for (const Segment& segment : contours) {
    Point top = segment.from;
    Point bottom = segment.to;
    int winding = 1;
    if (bottom.y < top.y) {
      std::swap(top, bottom);
      winding = -1;
    }
    const int endRow = firstCentreFrom(bottom.y, height_);
    for (int row = firstCentreFrom(top.y, height_); row < endRow; ++row) {
      const double t = (row + 0.5 - top.y) / (bottom.y - top.y);
      const double x = top.x + t * (bottom.x - top.x);
      found_.push_back({row, {firstCentreFrom(x, width_), winding}});
      ++rowStart_[static_cast<std::size_t>(row) + 1];
    }
  }
  for (int row = 0; row < height_; ++row) rowStart_[row + 1] += rowStart_[row];
  byRow_.resize(found_.size());
  // Filling moves each row's start to its end, which is where the next row started.
  for (const RowCrossing& found : found_) byRow_[rowStart_[found.row]++] = found.crossing;

  material.clear();
  std::size_t begin = 0;
  for (int row = 0; row < height_; ++row) {
    const std::size_t end = rowStart_[row];
    std::sort(byRow_.begin() + static_cast<std::ptrdiff_t>(begin),
              byRow_.begin() + static_cast<std::ptrdiff_t>(end),
              [](const Crossing& a, const Crossing& b) { return a.column < b.column; });
    int around = 0;
    for (std::size_t i = begin; i < end; ++i) {
      const int before = around;
      around += byRow_[i].winding;
      if (before != 0) material.add(byRow_[i - 1].column, byRow_[i].column);
    }
    material.endRow();
    begin = end;
  }
}

}  // namespace stiltforge::slicing
