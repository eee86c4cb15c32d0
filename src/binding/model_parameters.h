#pragma once

#include <napi.h>

#include "model/parameters.h"

namespace stiltforge::binding {

/// The 28 parameters of a host's object, each of its kind and within its range. Throws a refusal
/// that names the first that is not.
ModelParameters readParameters(const Napi::Value& parameters);

}  // namespace stiltforge::binding
