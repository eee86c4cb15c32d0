#pragma once

#include <cstdint>

#include "slicing/screen_placement.h"

namespace stiltforge {

/// Where a support lies: millimetres of the mesh, and the pixel of the whole screen.
struct SupportPosition {
  double x = 0;  ///< mm, the middle of the pixel, to the micrometre
  double y = 0;  ///< mm, likewise
  double z = 0;  ///< mm, the lower face of the layer
  uint32_t column = 0;
  uint32_t row = 0;
};

/// x, y: pixel of the slices. layer: from 0. plateZ: the lowest point of the model, mm.
SupportPosition positionOf(uint32_t x, uint32_t y, uint32_t layer,
                           const slicing::ScreenPlacement& placement, double plateZ,
                           double layerHeight);

}  // namespace stiltforge
