#pragma once

#include <cstdint>

#include "analysis/slice.h"

namespace stiltforge {

/// The slice that a picture shows: width * height RGBA pixels, row by row, at any address. A pixel
/// is material when its red byte is not 0, whatever its alpha; blue is its support value, green its
/// stroke value. Reads the picture once, rows in parallel, and no more of it afterwards. Where
/// `copy` is given, width * height * 4 bytes, the picture is copied there on the way.
Slice sliceOfPixels(const uint8_t* rgba, uint16_t width, uint16_t height, uint8_t* copy = nullptr);

}  // namespace stiltforge
