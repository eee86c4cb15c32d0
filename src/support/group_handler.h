#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "analysis/layer.h"
#include "analysis/settings.h"
#include "support/ghost_spread.h"

namespace stiltforge {

/// The support pass of one layer: plans every group and places the supports that are called for,
/// groups in parallel.
class GroupHandler {
 public:
  const Settings* settings = nullptr;
  const GhostSpread* ghostSpread = nullptr;  ///< created
  Layer* layer = nullptr;                    ///< related to the layer below, with its overhang
  const Layer* previousLayer = nullptr;      ///< null for the first slice of a model
  std::size_t layerCount = 0;                ///< layers in the history, this one included
  /// Counts the groups whose placement failed with an exception: such a group gets no supports and
  /// the pass carries on.
  std::atomic<uint64_t>* failedTasks = nullptr;

  /// Returns the number of supports placed in the layer.
  uint32_t supportLayer();
};

}  // namespace stiltforge
