#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"

namespace stiltforge::hold {

/// Which pixels of a layer touch each other.
enum class Contact { sides, sidesAndCorners };

/// The connected sets of some pixels of a layer.
struct Components {
  static constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

  RunRows pixels;
  /// Component of each run, counted from 0 in raster order of the components' first pixels.
  ScratchVector<uint32_t> ofRun;
  uint32_t count = 0;

  /// Component of the pixel, none where it is not among them.
  uint32_t at(int x, int y) const;
};

Components findComponents(RunRows pixels, Contact contact);

/// Position of the run that holds the pixel, Components::none without one.
uint32_t findRun(const RunRows& rows, int x, int y);

/// Calls fn(a, b, begin, end) for each stretch of a row that run a of `first` and run b of `second`
/// share, in raster order; runs are named by their positions.
template <class Fn>
void forEachShared(const RunRows& first, const RunRows& second, Fn&& fn) {
  const RowRange rowsA = first.occupiedRows();
  const RowRange rowsB = second.occupiedRows();
  const auto endRow = static_cast<std::size_t>(std::min(rowsA.end, rowsB.end));
  for (auto y = static_cast<std::size_t>(std::max(rowsA.begin, rowsB.begin)); y < endRow; ++y) {
    uint32_t a = first.rowStart(y);
    uint32_t b = second.rowStart(y);
    const uint32_t endA = first.rowStart(y + 1);
    const uint32_t endB = second.rowStart(y + 1);
    while (a < endA && b < endB) {
      const Run& runA = first[a];
      const Run& runB = second[b];
      const uint16_t begin = std::max(runA.begin, runB.begin);
      const uint16_t end = std::min(runA.end, runB.end);
      if (begin < end) fn(a, b, begin, end);
      if (runA.end <= runB.end) ++a;
      if (runB.end <= runA.end) ++b;
    }
  }
}

}  // namespace stiltforge::hold
