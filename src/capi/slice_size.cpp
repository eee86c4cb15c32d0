#include "capi/slice_size.h"

#include <string>

#include "capi/refusal.h"

namespace stiltforge::capi {

void requireSliceSize(uint32_t width, uint32_t height) {
  requireRange(width, "width", 1, longestSliceSide);
  requireRange(height, "height", 1, longestSliceSide);
  const uint64_t pixels = uint64_t{width} * height;
  if (pixels <= mostSlicePixels) return;
  throw InvalidArgument("width x height is " + std::to_string(pixels) + " pixels; a slice has " +
                        std::to_string(mostSlicePixels) + " at most");
}

}  // namespace stiltforge::capi
