#pragma once

#include "hold/finished.h"
#include "hold/kept_points.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// The kept points, sorted, and what has become of each point of the analysis: one that is not kept
/// is merged into the nearest of its body within reach, or dropped.
Finished merged(const Survey& survey, const KeptPoints& kept);

}  // namespace stiltforge::hold
