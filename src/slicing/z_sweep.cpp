#include "slicing/z_sweep.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace stiltforge::slicing {

ZSweep::ZSweep(std::vector<Interval> intervals)
    : intervals_(std::move(intervals)), byLower_(intervals_.size()) {
  std::iota(byLower_.begin(), byLower_.end(), 0u);
  std::sort(byLower_.begin(), byLower_.end(), [this](uint32_t a, uint32_t b) {
    return intervals_[a].lower != intervals_[b].lower ? intervals_[a].lower < intervals_[b].lower
                                                      : a < b;
  });
}

const std::vector<uint32_t>& ZSweep::activeAt(double plane) {
  if (next_ > 0 && plane < plane_) {
    next_ = 0;
    active_.clear();
  }
  plane_ = plane;
  const auto ended = [&](uint32_t item) { return intervals_[item].upper <= plane; };
  active_.erase(std::remove_if(active_.begin(), active_.end(), ended), active_.end());
  for (; next_ < byLower_.size() && intervals_[byLower_[next_]].lower <= plane; ++next_) {
    if (!ended(byLower_[next_])) active_.push_back(byLower_[next_]);
  }
  return active_;
}

}  // namespace stiltforge::slicing
