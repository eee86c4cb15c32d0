#pragma once

#include <napi.h>

namespace stiltforge {

/// InitAnalyseSlice(parameters): starts a model. Stores the 28 parameters, empties the history,
/// clears the top-pixel buffer and rebuilds the ghost spread table.
Napi::Value InitAnalyseSlice(const Napi::CallbackInfo& info);

}  // namespace stiltforge
