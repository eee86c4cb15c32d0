#pragma once

#include <napi.h>

namespace stiltforge {

/// GroupToBitmap(layer index, group index, callback): queues the rendering of one analysed group,
/// see GroupToBitmapWorker.
Napi::Value GroupToBitmap(const Napi::CallbackInfo& info);

}  // namespace stiltforge
