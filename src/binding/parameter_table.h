#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// The table of the 28 parameters: an array of { name, kind, least, most, default, unit, summary },
/// kind "flag", "integer" or "number"; a size has no default.
Napi::Array parameterTable(Napi::Env env);

}  // namespace stiltforge::binding
