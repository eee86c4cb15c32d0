#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

/// The support pass of one layer: how much weight of each group is still unsupported, how many
/// supports it needs, and their placement, groups in parallel.
class GroupHandler {
 public:
  /// Groups whose placement failed with an exception since load; such a group gets no supports and
  /// the pass carries on.
  static inline std::atomic<uint64_t> failedTasks{0};

  std::vector<Layer>* layers = nullptr;  ///< the history; its last entry is the layer to support

  /// Returns the number of supports placed in the layer.
  uint32_t supportLayer();
};

}  // namespace stiltforge
