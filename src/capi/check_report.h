#pragma once

#include <memory>

#include "capi/handles.h"

namespace stiltforge::capi {

/// The report as hosts see it.
std::unique_ptr<stiltforge_check_report> reportOf(const check::CheckReport& report);

}  // namespace stiltforge::capi
