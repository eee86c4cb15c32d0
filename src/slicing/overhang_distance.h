#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// Squared distances of single stretches of pixels to the nearest pixel of a set, as far as a
/// radius reaches: exact, Euclidean, between pixel centres.
///
/// Meant for stretches that are short or close to the set, as overhangs are: the rows around are
/// searched outwards, and no further than a nearer pixel can lie.
class OverhangDistance {
 public:
  /// radius in pixels, at least 0.
  explicit OverhangDistance(int radius) : radius_(radius) {}

  /// Squared distances of the pixels of a stretch of row y to `set`; (radius + 1) squared stands
  /// for that and more. Valid until the next call.
  std::span<const int32_t> measure(int y, Run stretch, const RunRows& set);

 private:
  // Takes into account row y of the set, which lies `offset` rows away; true if that changed
  // anything.
  bool addRow(std::span<const Run> row, Run stretch, int32_t offset);

  const int32_t radius_;
  std::vector<int32_t> squared_;
};

}  // namespace stiltforge::slicing
