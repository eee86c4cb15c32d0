#pragma once

#include <napi.h>

#include "analysis/layer.h"

namespace stiltforge {

/// The host's view of an analysed layer that is not archived: its size, its counts, and for every
/// group but the placeholder the counts, the bounding box and the supports.
Napi::Object layerToJS(Napi::Env env, const Layer& layer);

}  // namespace stiltforge
