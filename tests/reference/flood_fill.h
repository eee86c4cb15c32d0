#pragma once

#include <cstdint>
#include <vector>

#include "reference/parameters.h"
#include "reference/slice_model.h"

namespace stiltforge::reference {

// Splits one slice (width x height RGBA pixels) into its groups and relates them to the groups of
// the last of `layers`. Marks each material pixel in `topPixelBuffer` with the slice's number.
Layer floodFill(const std::vector<uint8_t>& slice, uint16_t width, uint16_t height,
                const Parameters& parameters, const std::vector<Layer>& layers,
                std::vector<uint32_t>& topPixelBuffer);

}  // namespace stiltforge::reference
