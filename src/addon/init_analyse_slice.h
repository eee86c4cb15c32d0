#pragma once

#include <napi.h>

namespace stiltforge {

/// InitAnalyseSlice(parameters): starts a model. Stores the 28 parameters and empties the history;
/// the top-pixel buffer and the ghost spread table are made by the first slice that needs them.
Napi::Value InitAnalyseSlice(const Napi::CallbackInfo& info);

}  // namespace stiltforge
