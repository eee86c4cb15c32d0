#pragma once

#include <cstddef>

#include "analysis/slice.h"

namespace stiltforge {

/// Throws std::out_of_range when a pixel of material has an index of `markers` or above; the
/// message names the first such pixel in the order in which a scanline fill with a stack reaches
/// them.
void requireMarkers(const Slice& slice, std::size_t markers);

}  // namespace stiltforge
