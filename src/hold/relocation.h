#pragma once

#include <atomic>

#include "hold/candidates.h"
#include "hold/held_overhang.h"
#include "hold/kept_points.h"

namespace stiltforge::hold {

/// Moves each point that is not pinned to the candidate within reach where it holds most of the
/// steep overhang that the others leave. `held` is what they hold. Needs
/// HeldOverhang::trackGains(). Returns whether any was moved. Throws Cancelled soon after the flag
/// was raised.
bool moveToBetterPlaces(const Candidates& candidates, HeldOverhang& held, KeptPoints& kept,
                        const std::atomic<bool>* cancelled);

}  // namespace stiltforge::hold
