#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// estimateMemory(model): predicts the peak memory of an analysis, in bytes, as an object of its
/// shares. The keys of both are those of ModelSize and MemoryEstimate.
Napi::Value estimateMemory(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
