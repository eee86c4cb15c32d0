#pragma once

#include <cstdint>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"

namespace stiltforge {

/// One slice of a model, in the form in which every door hands it to the analysis: its cost and its
/// memory follow the contour and the overhang, not the screen.
struct Slice {
  uint16_t width = 0;   ///< pixels
  uint16_t height = 0;  ///< pixels
  /// Pixels of material; height() is `height`.
  RunRows material;
  /// Pixels of the material whose support value (blue) is below 255: maximal runs, each within one
  /// run of the material. All other material is fully supported.
  RunRows overhang;
  /// Support value, 0 to 254, and stroke value of each pixel of `overhang`, in raster order.
  ScratchVector<uint8_t> blue;
  ScratchVector<uint8_t> green;
};

}  // namespace stiltforge
