#pragma once

#include <span>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::hold {

/// Finds the parts of runs whose pixels lie further from some material than a reach.
class BeyondReach {
 public:
  /// reach: pixels, between their centres; 0 or more.
  explicit BeyondReach(double reach);

  /// Whether each run of row y lies within reach of one run of its own row, so that find() would
  /// append nothing: what can be told at a glance of a wall.
  bool isWithinReach(std::span<const Run> row, int y, const RunRows& material) const;

  /// Appends those parts of a run of row y to the row of `beyond` that is not yet ended.
  void find(Run run, int y, const RunRows& material, RunRows& beyond);

 private:
  void keepBeyond(const RunRows& material, int y, int half);

  std::vector<int> half_;  // columns to each side that lie within reach, by the rows between
  std::vector<Run> rest_;  // ascending
  std::vector<Run> next_;
};

}  // namespace stiltforge::hold
