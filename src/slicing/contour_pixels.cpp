#include "slicing/contour_pixels.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace stiltforge::slicing {

namespace {

// Columns with material in both rows.
void intersect(std::span<const Run> upper, std::span<const Run> lower, std::vector<Run>& common) {
  common.clear();
  while (!upper.empty() && !lower.empty()) {
    const uint16_t begin = std::max(upper.front().begin, lower.front().begin);
    const uint16_t end = std::min(upper.front().end, lower.front().end);
    if (begin < end) common.push_back({begin, end});
    std::span<const Run>& first = upper.front().end < lower.front().end ? upper : lower;
    first = first.subspan(1);
  }
}

}  // namespace

void findContourPixels(const RunRows& material, RunRows& contours) {
  std::vector<Run> covered;
  contours.clear();
  for (int y = 0; y < material.height(); ++y) {
    intersect(material.row(y - 1), material.row(y + 1), covered);
    std::span<const Run> inside = covered;
    for (const Run& run : material.row(y)) {
      if (run.length() <= 2) {
        contours.add(run.begin, run.end);
        continue;
      }
      contours.add(run.begin, run.begin + 1);
      forEachUncovered(run, inside, [&](int32_t begin, int32_t end) { contours.add(begin, end); });
      contours.add(run.end - 1, run.end);
    }
    contours.endRow();
  }
}

}  // namespace stiltforge::slicing
