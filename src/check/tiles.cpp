#include "check/tiles.h"

#include <algorithm>
#include <cstddef>

namespace stiltforge::check {

Tiles::Tiles(const RunRows& pixels, int side) {
  while (shift_ < 16 && 1 << shift_ < side) ++shift_;
  int end = 0;
  for (int y = 0; y < pixels.height(); ++y) {
    if (!pixels.row(y).empty()) end = std::max<int>(end, pixels.row(y).back().end);
  }
  columns_ = (end >> shift_) + 1;
  rows_ = (pixels.height() >> shift_) + 1;
  isThere_.resize(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_));
  for (int y = 0; y < pixels.height(); ++y) {
    const auto first = isThere_.begin() + static_cast<std::ptrdiff_t>(y >> shift_) * columns_;
    for (const Run& run : pixels.row(y)) {
      std::fill(first + (run.begin >> shift_), first + ((run.end - 1) >> shift_) + 1, true);
    }
  }
}

bool Tiles::mayBeNear(Run run, int y, int columns, int rows) const {
  const int left = std::max(run.begin - columns, 0) >> shift_;
  const int right = std::min((run.end - 1 + columns) >> shift_, columns_ - 1);
  const int top = std::max(y - rows, 0) >> shift_;
  const int bottom = std::min((y + rows) >> shift_, rows_ - 1);
  for (int row = top; row <= bottom && left <= right; ++row) {
    const auto first = isThere_.begin() + static_cast<std::ptrdiff_t>(row) * columns_;
    if (std::find(first + left, first + right + 1, true) != first + right + 1) return true;
  }
  return false;
}

}  // namespace stiltforge::check
