#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/layer.h"
#include "analysis/settings.h"
#include "support/ghost_spread.h"

namespace stiltforge {

/// The sampling state of one group as eight RGBA images of its bounding box, rows top to bottom.
struct GroupImages {
  enum Image { sample, ghost, angle, score, scoreSupport, support, stroke, combined, imageCount };

  uint16_t width = 0;                                   ///< xMax - xMin of the group
  uint16_t height = 0;                                  ///< yMax - yMin
  std::array<std::vector<uint8_t>, imageCount> images;  ///< width * height * 4 bytes each
};

/// Renders a group of an analysed layer, archived or not. A group that was never sampled gives
/// images of zeros. `group` must be below layer.groupEntries(), `spread` created.
GroupImages renderGroup(const Layer& layer, std::size_t group, const Settings& settings,
                        const GhostSpread& spread);

}  // namespace stiltforge
