#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// Squared distances of stretches of pixels to the nearest pixel of a set, for pixels close to it,
/// as overhangs are: rows further and further away are searched until none can hold anything
/// nearer, or an effort is used up.
class RowSearch {
 public:
  /// radius: pixels. Squared distances up to `settled` need not be told apart.
  RowSearch(int radius, int32_t settled) : radius_(radius), settled_(settled) {}

  /// The set, kept by reference. The effort counts pixels and rows that are looked at; what goes
  /// beyond an amount that is linear in a stretch is taken from `extraEffort`, which serves all
  /// stretches.
  void begin(const RunRows& set, int64_t extraEffort);
  void beginRow(int y, std::size_t stretches);

  /// Measures the next stretch of the row, in ascending order: writes the squared distances of its
  /// pixels, (radius + 1) squared for those beyond the radius. They are exact outside the part that
  /// is returned, empty mostly: its pixels may be nearer than that.
  Run measure(Run stretch, int32_t* squared);

 private:
  void searchRow(int32_t offset, int side);
  void searchAcross(std::span<const Run> row, const Run* run, int32_t squaredOffset);
  void offer(int32_t column, int32_t squaredOffset, int32_t begin, int32_t end);
  bool closeSettled(int32_t offset);

  const int radius_;
  const int32_t settled_;
  const RunRows* set_ = nullptr;
  int64_t extraEffort_ = 0;

  int row_ = 0;
  // By offset and side: how many runs of that row the stretches have passed. Kept where there are
  // many stretches.
  std::vector<std::size_t> passed_;
  bool keepsPassed_ = false;

  int32_t* squared_ = nullptr;  // of the stretch's pixels
  int32_t first_ = 0;           // the stretch's first column
  int32_t begin_ = 0;           // columns [begin_, end_) are open
  int32_t end_ = 0;
  int32_t nearestLeft_ = 0;  // columns of the nearest pixels found beside it, in whichever row
  int32_t nearestRight_ = 0;
  int64_t effort_ = 0;
};

}  // namespace stiltforge::slicing
