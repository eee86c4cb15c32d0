#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "hold/candidates.h"
#include "hold/kept_points.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Keeps a point for each island that nothing has taken when it has grown by so many layers, bottom
/// up: on what it has grown together with by then, of the analysis if one stands there. Those come
/// too close to others where the island has no other place, and then as little as may be. isSpeck:
/// see specksOf(). Returns the islands that get no point in time, ascending. Throws Cancelled soon
/// after the flag was raised.
std::vector<uint32_t> holdIslands(const Survey& survey, const std::vector<uint8_t>& isSpeck,
                                  uint32_t layers, const Candidates& candidates, KeptPoints& kept,
                                  const std::atomic<bool>* cancelled);

}  // namespace stiltforge::hold
