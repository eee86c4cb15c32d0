#pragma once

#include <cstdint>

namespace stiltforge::capi {

inline constexpr uint32_t longestSliceSide = 65535;
inline constexpr uint32_t mostSlicePixels = 2147483647;

/// Throws InvalidArgument when no slice can have that many pixels.
void requireSliceSize(uint32_t width, uint32_t height);

}  // namespace stiltforge::capi
