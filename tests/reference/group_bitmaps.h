#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "reference/slice_model.h"

namespace stiltforge::reference {

// The images of one group, width x height RGBA pixels each, in the order in which the host's
// callback takes them.
struct GroupBitmaps {
  uint16_t width = 0;
  uint16_t height = 0;
  std::array<std::vector<uint8_t>, 8> images;
};

enum GroupImage : size_t {
  sampleBitmap,
  ghostBitmap,
  angleBitmap,
  scoreBitmap,
  scoreSupportBitmap,
  supportBitmap,
  strokeBitmap,
  combinedBitmap
};

// All zero for a group that was never sampled.
GroupBitmaps groupBitmaps(const Group& group);

}  // namespace stiltforge::reference
