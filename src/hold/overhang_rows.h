#pragma once

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "hold/beyond_reach.h"

namespace stiltforge::hold {

/// The overhanging pixels of a slice that are further than a reach from the material below.
RunRows overhangBeyond(const Slice& slice, const RunRows& below, BeyondReach& reach);

}  // namespace stiltforge::hold
