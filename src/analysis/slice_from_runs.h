#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>

#include "analysis/slice.h"

namespace stiltforge {

/// Runs of pixels as a host hands them over, in arrays of its own.
struct HostRuns {
  /// Row y has runs [rowStart[y], rowStart[y + 1]), so there is an entry more than there are rows:
  /// the first is 0, the last the number of runs.
  std::span<const uint32_t> rowStart;
  /// Run i covers columns [begin[i], end[i]) of its row.
  std::span<const uint16_t> begin;
  std::span<const uint16_t> end;
};

/// Runs of the pixels that overhang, with the channels of each in raster order.
struct HostOverhang {
  HostRuns runs;
  std::span<const uint8_t> blue;   ///< support value, 0 to 254
  std::span<const uint8_t> green;  ///< stroke value
};

/// What a host gave is no slice. what() is a sentence that says what is wrong, in which row, and
/// what is right.
class InvalidSlice : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// The slice of a host's runs. In each row they ascend; runs that overlap are refused, runs that
/// touch are joined, so it does not matter where a host cuts them. All material is fully supported
/// but for `overhang`, each run of which lies within one (joined) run of the material; null for
/// none.
///
/// Throws InvalidSlice. Reads each entry once.
Slice sliceFromRuns(uint16_t width, uint16_t height, const HostRuns& material,
                    const HostOverhang* overhang = nullptr);

}  // namespace stiltforge
