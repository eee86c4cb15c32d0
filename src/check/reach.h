#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::check {

/// The pixels within an ellipse around a pixel.
class Reach {
 public:
  /// Half axes, pixels, at least 0.
  Reach(double columns, double rows);

  /// Rows that it extends up and down.
  int rows() const { return static_cast<int>(columnsAt_.size()) - 1; }
  /// Columns that it extends to both sides, so many rows away.
  int columnsAt(int row) const {
    return columnsAt_[static_cast<std::size_t>(row < 0 ? -row : row)];
  }

 private:
  std::vector<int> columnsAt_;
};

/// The part of a run that nothing has reached so far.
class Unreached {
 public:
  /// Begins with all of the run.
  void begin(Run run) { rest_.assign(1, run); }
  bool empty() const { return rest_.empty(); }
  /// From left to right.
  std::span<const Run> rest() const { return rest_; }

  /// Takes the pixels of these runs away. Neither their begins nor their ends may descend.
  void takePixels(std::span<const Run> runs);
  /// Takes what lies within reach of runs around row y for which counts(run, row) holds, the run's
  /// own row first.
  template <class Counts>
  void takeReached(const RunRows& from, int y, const Reach& reach, Counts&& counts) {
    for (int away = 0; away <= reach.rows() && !rest_.empty(); ++away) {
      takeRow(from, y - away, reach.columnsAt(away), counts);
      if (away > 0 && !rest_.empty()) takeRow(from, y + away, reach.columnsAt(away), counts);
    }
  }

 private:
  template <class Counts>
  void takeRow(const RunRows& from, int row, int columns, Counts&& counts) {
    const std::span<const Run> runs = from.row(row);
    near_.clear();
    for (const Run& run : nearTo(runs, columns)) {
      if (!counts(run, row)) continue;
      near_.push_back(
          {static_cast<uint16_t>(run.begin > columns ? run.begin - columns : 0),
           static_cast<uint16_t>(run.end + columns < 65535 ? run.end + columns : 65535)});
    }
    takePixels(near_);
  }
  std::span<const Run> nearTo(std::span<const Run> runs, int columns) const;

  std::vector<Run> rest_;
  std::vector<Run> near_;
  std::vector<Run> next_;
};

}  // namespace stiltforge::check
