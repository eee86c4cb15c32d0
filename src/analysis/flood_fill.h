#pragma once

#include <cstddef>

#include "analysis/layer.h"
#include "analysis/settings.h"

namespace stiltforge {

/// Splits one slice into its groups and relates each to the groups of the layer below.
///
/// Connectivity: four edge neighbours, and diagonally downwards from the last pixel of a vertical
/// run, from the group that is filled first (groups are filled in raster order of their first
/// pixels).
class FloodFill {
 public:
  const Settings* settings = nullptr;
  Layer* layer = nullptr;                ///< a slice, with nothing of the layer filled
  const Layer* previousLayer = nullptr;  ///< null for the first slice of a model
  std::size_t markerCount = 0;           ///< pixels that the model has room for

  /// Fills the layer's labels, counts, groups and overlaps.
  /// Throws std::out_of_range when material lies at or beyond pixel index markerCount.
  void run();
};

}  // namespace stiltforge
