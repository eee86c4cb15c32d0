#pragma once

#include "analysis/run_rows.h"
#include "analysis/slice.h"

namespace stiltforge::hold {

/// The overhanging pixels of a slice that are more than 1.5 pixels away from the material below:
/// neither the pixel straight below nor one of its eight neighbours is among them.
RunRows overhangBeyond(const Slice& slice, const RunRows& below);

}  // namespace stiltforge::hold
