#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "runtime/scratch_vector.h"

namespace stiltforge {

/// Columns [begin, end) of a row.
struct Run {
  uint16_t begin = 0;
  uint16_t end = 0;

  uint32_t length() const { return static_cast<uint32_t>(end - begin); }
  bool operator==(const Run&) const = default;
};

/// Rows [begin, end).
struct RowRange {
  int begin = 0;
  int end = 0;
};

/// A set of pixels as the maximal runs of each row, ascending and never touching.
class RunRows {
 public:
  RunRows() = default;
  /// runs in raster order; row y has runs [rowStart[y], rowStart[y + 1]), so rowStart has an entry
  /// more than there are rows, the first 0 and the last runs.size().
  RunRows(ScratchVector<Run> runs, ScratchVector<uint32_t> rowStart)
      : runs_(std::move(runs)), rowStart_(std::move(rowStart)) {}

  /// Forgets all rows and keeps the storage.
  void clear() {
    runs_.clear();
    rowStart_.clear();
  }
  /// Appends to the row that is not yet ended. Runs must come in ascending order, in columns from 0
  /// to 65535; one that touches or overlaps the last is joined with it, an empty one is dropped.
  void add(int32_t begin, int32_t end) {
    if (begin >= end) return;
    const std::size_t rowBegin = rowStart_.empty() ? 0 : rowStart_.back();
    if (runs_.size() > rowBegin && begin <= runs_.back().end) {
      if (end > runs_.back().end) runs_.back().end = static_cast<uint16_t>(end);
    } else {
      runs_.push_back({static_cast<uint16_t>(begin), static_cast<uint16_t>(end)});
    }
  }
  void endRow() {
    if (rowStart_.empty()) rowStart_.push_back(0);
    rowStart_.push_back(static_cast<uint32_t>(runs_.size()));
  }

  /// Ends so many rows, the open one first.
  void endRows(int count) {
    if (count <= 0) return;
    if (rowStart_.empty()) rowStart_.push_back(0);
    rowStart_.insert(rowStart_.end(), static_cast<std::size_t>(count),
                     static_cast<uint32_t>(runs_.size()));
  }

  int height() const { return rowStart_.empty() ? 0 : static_cast<int>(rowStart_.size()) - 1; }
  std::size_t runCount() const { return runs_.size(); }
  bool empty() const { return runs_.empty(); }
  /// Runs of an ended row; none for a row outside [0, height).
  std::span<const Run> row(int y) const {
    if (y < 0 || y >= height()) return {};
    const auto r = static_cast<std::size_t>(y);
    return {runs_.data() + rowStart_[r], rowStart_[r + 1] - rowStart_[r]};
  }
  /// From the first ended row that has runs to the last; none where no row has any.
  RowRange occupiedRows() const {
    if (rowStart_.empty() || rowStart_.back() == 0) return {};
    const auto first = std::upper_bound(rowStart_.begin(), rowStart_.end(), 0u);
    const auto last = std::lower_bound(first, rowStart_.end(), rowStart_.back());
    return {static_cast<int>(first - rowStart_.begin()) - 1,
            static_cast<int>(last - rowStart_.begin())};
  }
  /// The run at this position in raster order.
  const Run& operator[](std::size_t i) const { return runs_[i]; }
  const Run* data() const { return runs_.data(); }
  /// Position of the first run of row y, 0 to height(); of the height, the number of runs.
  uint32_t rowStart(std::size_t y) const { return rowStart_.empty() ? 0 : rowStart_[y]; }

  uint64_t pixelCount() const {
    uint64_t pixels = 0;
    for (const Run& run : runs_) pixels += run.length();
    return pixels;
  }

  bool operator==(const RunRows&) const = default;

 private:
  ScratchVector<Run> runs_;
  ScratchVector<uint32_t> rowStart_;  // empty while there is no row
};

/// Calls fn(begin, end) for the parts of `run` that no run of `holes` covers, ascending. Drops the
/// holes left of the run, so that the runs of a row walk a row of holes once.
template <class Fn>
void forEachUncovered(Run run, std::span<const Run>& holes, Fn&& fn) {
  while (!holes.empty() && holes.front().end <= run.begin) holes = holes.subspan(1);
  int32_t at = run.begin;
  for (const Run& hole : holes) {
    if (hole.begin >= run.end) break;
    if (hole.begin > at) fn(at, int32_t{hole.begin});
    at = hole.end;
  }
  if (at < run.end) fn(at, int32_t{run.end});
}

}  // namespace stiltforge
