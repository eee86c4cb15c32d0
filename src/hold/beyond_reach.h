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

  /// Whether the run lies within reach of one run of its own row of the material, `row`: what can
  /// be told at a glance of a wall. Drops the runs left of it, so that the runs of a row walk the
  /// row of the material once.
  bool isWithinRow(Run run, std::span<const Run>& row) const {
    const int half = half_[0];
    while (!row.empty() && row.front().end + half < run.end) row = row.subspan(1);
    return !row.empty() && row.front().begin - half <= run.begin;
  }

  /// Appends those parts of a run of row y to the row of `beyond` that is not yet ended.
  void find(Run run, int y, const RunRows& material, RunRows& beyond);

 private:
  void keepBeyond(std::span<const Run> row, int half);

  std::vector<int> half_;  // columns to each side that lie within reach, by the rows between
  std::vector<Run> rest_;  // ascending
  std::vector<Run> next_;
};

}  // namespace stiltforge::hold
