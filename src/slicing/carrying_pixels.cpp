#include "slicing/carrying_pixels.h"

#include <algorithm>

namespace stiltforge::slicing {

namespace {

bool touchesRow(std::span<const Run> row, int32_t x) {
  const auto run =
      std::partition_point(row.begin(), row.end(), [&](const Run& r) { return r.end < x; });
  return run != row.end() && run->begin <= x + 1;
}

bool isSinglePixel(Run run) {
  return run.length() == 1;
}

bool isLone(const RunRows& layer, int y, Run run) {
  return isSinglePixel(run) && !touchesRow(layer.row(y - 1), run.begin) &&
         !touchesRow(layer.row(y + 1), run.begin);
}

bool hasLonePixel(const RunRows& layer) {
  if (std::none_of(layer.data(), layer.data() + layer.runCount(), isSinglePixel)) return false;
  for (int y = 0; y < layer.height(); ++y) {
    for (const Run& run : layer.row(y)) {
      if (isLone(layer, y, run)) return true;
    }
  }
  return false;
}

}  // namespace

const RunRows& CarryingPixels::of(const RunRows& layer) {
  if (!hasLonePixel(layer)) return layer;
  kept_.clear();
  for (int y = 0; y < layer.height(); ++y) {
    for (const Run& run : layer.row(y)) {
      if (!isLone(layer, y, run)) kept_.add(run.begin, run.end);
    }
    kept_.endRow();
  }
  return kept_;
}

}  // namespace stiltforge::slicing
