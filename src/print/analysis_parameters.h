#pragma once

#include <cstdint>
#include <vector>

#include "model/parameters.h"
#include "print/print_settings.h"

namespace stiltforge {

struct ParameterValue {
  const char* name;
  double value;
};

/// The 28 parameters for slices of that size, with buffers off and supports on. Lengths and areas
/// are physical in a print and become pixels and layers here, so that a part gets about the same
/// supports on any printer. The settings must be usable, see findConflict(). Only basic arithmetic:
/// the same numbers on every platform.
std::vector<ParameterValue> analysisParameters(const PrintSettings& print, uint32_t width,
                                               uint32_t height, uint32_t layers);

/// The same, stored.
ModelParameters modelParameters(const PrintSettings& print, uint32_t width, uint32_t height,
                                uint32_t layers);

}  // namespace stiltforge
