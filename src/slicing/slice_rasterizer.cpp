#include "slicing/slice_rasterizer.h"

#include <algorithm>
#include <utility>

namespace stiltforge::slicing {

namespace {

// A layer is done in bands of rows that have no more crossings than this, or than it has contours,
// since all of them may cross one row.
constexpr std::size_t crossingsAtOnce = std::size_t{1} << 20;

// Index of the first pixel whose centre is at or beyond the coordinate, clamped to [0, limit].
int firstCentreFrom(double coordinate, int limit) {
  const double shifted = coordinate - 0.5;
  if (!(shifted > 0)) return 0;
  if (shifted >= limit) return limit;
  const int whole = static_cast<int>(shifted);
  return whole + (shifted > whole ? 1 : 0);
}

struct Downwards {
  Point top, bottom;
  int winding = 1;

  explicit Downwards(const Segment& segment) : top(segment.from), bottom(segment.to) {
    if (!(bottom.y < top.y)) return;
    std::swap(top, bottom);
    winding = -1;
  }
};

}  // namespace

SliceRasterizer::SliceRasterizer(int width, int height) : width_(width), height_(height) {}

void SliceRasterizer::countCrossings(const std::vector<Segment>& contours) {
  // First how many more each row has than the one above; unsigned differences wrap around and back.
  counts_.assign(static_cast<std::size_t>(height_) + 1, 0);
  for (const Segment& segment : contours) {
    const Downwards edge(segment);
    ++counts_[firstCentreFrom(edge.top.y, height_)];
    --counts_[firstCentreFrom(edge.bottom.y, height_)];
  }
  for (int row = 0; row < height_; ++row) counts_[row + 1] += counts_[row];
}

void SliceRasterizer::findCrossings(const std::vector<Segment>& contours, int firstRow,
                                    int endRow) {
  bandRows_.clear();
  std::size_t total = 0;
  for (int row = firstRow; row < endRow; ++row) {
    bandRows_.push_back(total);
    total += counts_[row];
  }
  crossings_.resize(total);
  for (const Segment& segment : contours) {
    const Downwards edge(segment);
    const int end = std::min(firstCentreFrom(edge.bottom.y, height_), endRow);
    int row = std::max(firstCentreFrom(edge.top.y, height_), firstRow);
    for (; row < end; ++row) {
      const double t = (row + 0.5 - edge.top.y) / (edge.bottom.y - edge.top.y);
      const double x = edge.top.x + t * (edge.bottom.x - edge.top.x);
      // Filling moves each row's start to its end, which is where the next row started.
      crossings_[bandRows_[row - firstRow]++] = {firstCentreFrom(x, width_), edge.winding};
    }
  }
}

void SliceRasterizer::addRow(std::size_t begin, std::size_t end, RunRows& material) {
  std::sort(crossings_.begin() + static_cast<std::ptrdiff_t>(begin),
            crossings_.begin() + static_cast<std::ptrdiff_t>(end),
            [](const Crossing& a, const Crossing& b) { return a.column < b.column; });
  int around = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const int before = around;
    around += crossings_[i].winding;
    if (before != 0) material.add(crossings_[i - 1].column, crossings_[i].column);
  }
  material.endRow();
}

void SliceRasterizer::rasterize(const std::vector<Segment>& contours, RunRows& material) {
  material.clear();
  countCrossings(contours);
  const std::size_t most = std::max(crossingsAtOnce, contours.size());
  for (int firstRow = 0, endRow = 0; firstRow < height_; firstRow = endRow) {
    std::size_t crossings = 0;
    while (endRow < height_ && crossings + counts_[endRow] <= most) crossings += counts_[endRow++];
    findCrossings(contours, firstRow, endRow);
    std::size_t begin = 0;
    for (const std::size_t end : bandRows_) {
      addRow(begin, end, material);
      begin = end;
    }
  }
}

}  // namespace stiltforge::slicing
