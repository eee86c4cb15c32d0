#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace stiltforge::slicing {

/// Columns [begin, end) of a row.
struct Run {
  int32_t begin = 0;
  int32_t end = 0;

  bool operator==(const Run& other) const { return begin == other.begin && end == other.end; }
};

/// A set of pixels as the maximal runs of each row, ascending and never touching.
class RunRows {
 public:
  /// Forgets all rows and keeps the storage.
  void clear() {
    runs_.clear();
    rowStart_.assign(1, 0);
  }
  /// Appends to the row that is not yet ended. Runs must come in ascending order; one that touches
  /// or overlaps the last is joined with it, an empty one is dropped.
  void add(int32_t begin, int32_t end) {
    if (begin >= end) return;
    if (runs_.size() > rowStart_.back() && begin <= runs_.back().end) {
      if (end > runs_.back().end) runs_.back().end = end;
    } else {
      runs_.push_back({begin, end});
    }
  }
  void endRow() { rowStart_.push_back(runs_.size()); }

  int height() const { return static_cast<int>(rowStart_.size()) - 1; }
  /// Runs of an ended row; none for a row outside [0, height).
  std::span<const Run> row(int y) const {
    if (y < 0 || y >= height()) return {};
    return {runs_.data() + rowStart_[y], rowStart_[y + 1] - rowStart_[y]};
  }
  uint64_t pixelCount() const {
    uint64_t pixels = 0;
    for (const Run& run : runs_) pixels += static_cast<uint64_t>(run.end - run.begin);
    return pixels;
  }

 private:
  std::vector<Run> runs_;
  std::vector<std::size_t> rowStart_{0};
};

/// Calls fn(begin, end) for the parts of `run` that no run of `holes` covers, ascending. Drops the
/// holes left of the run, so that the runs of a row walk a row of holes once.
template <class Fn>
void forEachUncovered(Run run, std::span<const Run>& holes, Fn&& fn) {
  while (!holes.empty() && holes.front().end <= run.begin) holes = holes.subspan(1);
  int32_t at = run.begin;
  for (const Run& hole : holes) {
    if (hole.begin >= run.end) break;
    if (hole.begin > at) fn(at, hole.begin);
    at = hole.end;
  }
  if (at < run.end) fn(at, run.end);
}

}  // namespace stiltforge::slicing
