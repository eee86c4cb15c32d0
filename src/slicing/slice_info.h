#pragma once

#include <cstdint>

namespace stiltforge::slicing {

/// What is known of a slice besides its pixels.
struct SliceInfo {
  uint64_t materialPixels = 0;
  double z = 0;  ///< mm above the plate: the middle of the layer
};

}  // namespace stiltforge::slicing
