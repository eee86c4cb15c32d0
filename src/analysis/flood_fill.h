#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/layer.h"

namespace stiltforge {

/// Splits one slice into its groups and relates each to the groups of the layer below.
///
/// Connectivity: four edge neighbours, and diagonally downwards from the last pixel of a vertical
/// run, from the group that is filled first (groups are filled in raster order of their first
/// pixels). A pixel is material when its red byte is not 0, whatever its alpha.
class FloodFill {
 public:
  /// Blue, 0 to 255: pixels below it count in Group::almostNotBlueCount, islandBlueCount.
  static inline float almostNotBlueCounterLimit = 50.0f;
  static inline float islandMinBlue = 50.0f;

  Layer* layer = nullptr;                ///< width, height and pixelBuffer set, the rest empty
  const Layer* previousLayer = nullptr;  ///< null for the first slice of a model
  uint32_t layerIndex = 0;               ///< index that the layer will have in the history
  /// Per pixel 0xFE000000 + (layerIndex & 0xFFFFFF) of the highest layer with material there.
  Plane<uint32_t>* topPixelBuffer = nullptr;
  std::size_t topPixelCount = 0;  ///< entries of topPixelBuffer, whether or not it is filled
  bool needBuffer = false;        ///< write labels, supportedPixels and markers

  /// Fills the layer's runs, bytes, counts, groups and overlaps. With needBuffer the material of
  /// pixelBuffer becomes 0x80000000 + (label & 0xFFFFFF).
  /// Throws std::out_of_range when material lies beyond topPixelCount.
  void run();
};

}  // namespace stiltforge
