#pragma once

#include <cstdint>
#include <future>
#include <vector>

#include "slicing/slicer.h"

namespace stiltforge::capi {

/// The layers of a slicer one after the other, cut a batch ahead of who takes them.
class SlicesAhead {
 public:
  /// Layers [first, end). Nobody else may use the slicer.
  SlicesAhead(slicing::Slicer& slicer, uint32_t first, uint32_t end);

  /// The next layer. Throws what the slicer throws.
  Slice next();

 private:
  void cutBatch();

  slicing::Slicer& slicer_;
  uint32_t first_;  // of the batch to cut
  const uint32_t end_;
  std::vector<Slice> batch_;
  std::size_t taken_ = 0;
  std::future<std::vector<Slice>> nextBatch_;  // waits for its end when it is destroyed
};

}  // namespace stiltforge::capi
