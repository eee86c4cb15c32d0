#pragma once

#include <napi.h>

namespace stiltforge {

/// AnalyseSlice(ArrayBuffer of width * height RGBA pixels, layer index, callback(result)): reads
/// the slice, which is not read again, and queues its analysis. A slice that cannot be analysed
/// gives callback(Error).
Napi::Value AnalyseSlice(const Napi::CallbackInfo& info);

}  // namespace stiltforge
