#pragma once

#include <cstddef>

#include "capi/structure.h"
#include "print/print_settings.h"
#include "stiltforge/stiltforge.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_print_settings> =
    offsetof(stiltforge_print_settings, support_area) + sizeof(double);

/// Throws InvalidArgument when a setting cannot be used, alone or with the others.
PrintSettings readPrintSettings(const stiltforge_print_settings* settings, const char* name);

}  // namespace stiltforge::capi
