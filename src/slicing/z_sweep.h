#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace stiltforge::slicing {

/// Which of many z intervals contain a horizontal plane, for planes that mostly ascend.
///
/// An item whose interval is [lower, upper) is active at a plane z with lower <= z < upper, so that
/// a plane through a corner meets each edge at that corner either from below or from above, never
/// twice.
class ZSweep {
 public:
  struct Interval {
    float lower = 0;
    float upper = 0;
  };

  ZSweep() = default;
  explicit ZSweep(std::vector<Interval> intervals);

  /// Indices of the active items, in an order that depends on the plane and the items only. Moving
  /// upwards costs what starts and ends on the way; moving downwards starts again from the lowest
  /// item.
  const std::vector<uint32_t>& activeAt(double plane);

 private:
  std::vector<Interval> intervals_;
  std::vector<uint32_t> byLower_;
  std::size_t next_ = 0;
  double plane_ = 0;
  std::vector<uint32_t> active_;
};

}  // namespace stiltforge::slicing
