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

// Finds the contour pixels of single rows.
class RowContours {
 public:
  explicit RowContours(const RunRows& material) : material_(material) {}

  void append(int y, RunRows& contours) {
    intersect(material_.row(y - 1), material_.row(y + 1), covered_);
    std::span<const Run> inside = covered_;
    for (const Run& run : material_.row(y)) {
      if (run.length() <= 2) {
        contours.add(run.begin, run.end);
        continue;
      }
      contours.add(run.begin, run.begin + 1);
      forEachUncovered(run, inside, [&](int32_t begin, int32_t end) { contours.add(begin, end); });
      contours.add(run.end - 1, run.end);
    }
  }

 private:
  const RunRows& material_;
  std::vector<Run> covered_;  // columns with material above and below
};

}  // namespace

void findContourPixels(const RunRows& material, RunRows& contours) {
  RowContours rows(material);
  contours.clear();
  for (int y = 0; y < material.height(); ++y) {
    rows.append(y, contours);
    contours.endRow();
  }
}

void findContourPixels(const RunRows& material, const RunRows& near, int reach, RunRows& contours) {
  RowContours rows(material);
  contours.clear();
  const RowRange occupied = near.occupiedRows();
  int nearRow = occupied.begin;  // the first with pixels that is not out of reach above
  for (int y = 0; y < material.height(); ++y) {
    while (nearRow < occupied.end && (nearRow < y - reach || near.row(nearRow).empty())) ++nearRow;
    if (nearRow < occupied.end && nearRow <= y + reach) rows.append(y, contours);
    contours.endRow();
  }
}

}  // namespace stiltforge::slicing
