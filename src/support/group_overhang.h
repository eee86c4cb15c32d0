#pragma once

#include <cstdint>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

/// Columns [begin, end) of row y: overhanging pixels of one group.
struct OverhangSpan {
  uint16_t y = 0;
  uint16_t begin = 0;
  uint16_t end = 0;
  uint32_t firstPixel = 0;  ///< position of its channels in Slice::blue and Slice::green

  uint32_t length() const { return static_cast<uint32_t>(end - begin); }
};

/// The overhang of some groups, a list for each, in raster order.
std::vector<std::vector<OverhangSpan>> overhangOfGroups(const Layer& layer,
                                                        const std::vector<uint32_t>& groups);

}  // namespace stiltforge
