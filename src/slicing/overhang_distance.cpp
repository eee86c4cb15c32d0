#include "slicing/overhang_distance.h"

#include <algorithm>

namespace stiltforge::slicing {

bool OverhangDistance::addRow(std::span<const Run> row, Run stretch, int32_t offset) {
  const int32_t begin = stretch.begin;
  const int32_t end = stretch.end;
  const int32_t squaredOffset = offset * offset;
  const auto offer = [&](int32_t x, int32_t squared) {
    int32_t& current = squared_[static_cast<std::size_t>(x - begin)];
    current = std::min(current, squared);
  };
  bool changed = false;
  auto run = std::partition_point(row.begin(), row.end(),
                                  [&](const Run& r) { return r.end <= begin - radius_; });
  for (; run != row.end() && run->begin < end + radius_; ++run) {
    changed = true;
    const int32_t first = run->begin;
    const int32_t past = run->end;
    for (int32_t x = std::max(begin, first - radius_); x < std::min(end, first); ++x) {
      offer(x, squaredOffset + (first - x) * (first - x));
    }
    for (int32_t x = std::max(begin, first); x < std::min(end, past); ++x) {
      offer(x, squaredOffset);
    }
    for (int32_t x = std::max(begin, past); x < std::min(end, past + radius_); ++x) {
      offer(x, squaredOffset + (x - past + 1) * (x - past + 1));
    }
  }
  return changed;
}

std::span<const int32_t> OverhangDistance::measure(int y, Run stretch, const RunRows& set) {
  const int32_t outOfReach = (radius_ + 1) * (radius_ + 1);
  squared_.assign(static_cast<std::size_t>(stretch.end - stretch.begin), outOfReach);
  int32_t furthest = outOfReach;
  for (int32_t offset = 0; offset <= radius_ && offset * offset < furthest; ++offset) {
    bool changed = addRow(set.row(y - offset), stretch, offset);
    if (offset > 0) changed = addRow(set.row(y + offset), stretch, offset) || changed;
    if (changed) furthest = *std::max_element(squared_.begin(), squared_.end());
  }
  return squared_;
}

}  // namespace stiltforge::slicing
