#pragma once

#include <atomic>
#include <cstdint>

#include "hold/candidates.h"
#include "hold/kept_points.h"

namespace stiltforge::hold {

// Steps that keep points at candidates, always the one that brings most, none closer than the
// spacing to another of its body. Each throws Cancelled soon after the flag was raised.

/// Until enough steep overhang lies within reach. Needs HeldOverhang::trackGains().
void coverSteepOverhang(const Candidates& candidates, KeptPoints& kept,
                        const std::atomic<bool>* cancelled);

/// Until enough of all overhang lies within reach and within farReach. Needs
/// HeldOverhang::findReachable().
void coverAllOverhang(const Candidates& candidates, KeptPoints& kept,
                      const std::atomic<bool>* cancelled);

/// Added points where so many pixels of steep overhang are left further than farReach from all.
void closeFarGaps(const Candidates& candidates, uint64_t leastPixels, KeptPoints& kept,
                  const std::atomic<bool>* cancelled);

/// Points of the analysis that hold so many pixels of steep overhang alone, within ownReach.
void keepStrength(const Candidates& candidates, uint64_t leastPixels, KeptPoints& kept,
                  const std::atomic<bool>* cancelled);

}  // namespace stiltforge::hold
