#pragma once

#include <cstdint>
#include <vector>

#include "hold/coverage.h"
#include "hold/finished.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Measures the steep overhang that does not count in the coverage, and how far the part must be
/// lifted for that and for the islands which are left. isSpeck: see specksOf(); specks are passed
/// over.
LeftAlone measureLeftAlone(const Survey& survey, const Coverage& coverage,
                           const std::vector<uint8_t>& isSpeck,
                           const std::vector<uint32_t>& islandsLeft);

}  // namespace stiltforge::hold
