#pragma once

#include <cstdint>
#include <vector>

#include "reference/ghost_spread.h"
#include "reference/parameters.h"
#include "reference/slice_model.h"

namespace stiltforge::reference {

// What one group still needs.
struct SupportNeed {
  bool isIsland = false;
  float remainingStrength = 0.0f;    // weight in pixels that nothing below carries
  float transmittedStrength = 0.0f;  // strength handed up by the groups below
  float strengthPerSupport = 1.0f;
  uint32_t nbSupport = 0;
  uint32_t nbSupportBase = 0;  // before the island multiplier
};

// `group` belongs to the last of `layers`.
SupportNeed supportNeed(const Group& group, const std::vector<Layer>& layers,
                        const Parameters& parameters);

// Places supports in every group of the last of `layers`; returns how many.
uint32_t supportLayer(std::vector<Layer>& layers, const Parameters& parameters,
                      const GhostSpread& ghostSpread);

}  // namespace stiltforge::reference
